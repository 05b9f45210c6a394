#pragma once

// One constant per event of the category "Scene". Internal linkage on purpose: every source unit that includes this
// header declares the list when its library is loaded, so that the events exist whichever library is loaded first.
// Include it from source files only, never from a header.

#include "kernel/events/eventhandler.h"

namespace tov::events::scene {

// clang-format off
[[maybe_unused]] static const EventType POINTS_SELECTED = EventHandler::getInstance()->addEvent("Scene", "POINTS_SELECTED");
[[maybe_unused]] static const EventType POINTS_DESELECTED = EventHandler::getInstance()->addEvent("Scene", "POINTS_DESELECTED");
[[maybe_unused]] static const EventType POINTS_REPLACED = EventHandler::getInstance()->addEvent("Scene", "POINTS_REPLACED");
[[maybe_unused]] static const EventType SCENE_ELEMENTS_SELECTION = EventHandler::getInstance()->addEvent("Scene", "SCENE_ELEMENTS_SELECTION");
[[maybe_unused]] static const EventType SCENE_ELEMENTS_REPARENTED = EventHandler::getInstance()->addEvent("Scene", "SCENE_ELEMENTS_REPARENTED");
[[maybe_unused]] static const EventType SCENE_ELEMENTS_RENAMED = EventHandler::getInstance()->addEvent("Scene", "SCENE_ELEMENTS_RENAMED");
[[maybe_unused]] static const EventType SCENE_MEASURING_CHANGED = EventHandler::getInstance()->addEvent("Scene", "SCENE_MEASURING_CHANGED");
[[maybe_unused]] static const EventType SCENE_GLOBALSCALING_CHANGED = EventHandler::getInstance()->addEvent("Scene", "SCENE_GLOBALSCALING_CHANGED");
[[maybe_unused]] static const EventType SCENE_TRANSFORM_LOCKED = EventHandler::getInstance()->addEvent("Scene", "SCENE_TRANSFORM_LOCKED");
[[maybe_unused]] static const EventType SCENE_TRANSFORM_UNLOCKED = EventHandler::getInstance()->addEvent("Scene", "SCENE_TRANSFORM_UNLOCKED");
[[maybe_unused]] static const EventType SCENE_STRUCTURE_LOCKED = EventHandler::getInstance()->addEvent("Scene", "SCENE_STRUCTURE_LOCKED");
[[maybe_unused]] static const EventType SCENE_STRUCTURE_UNLOCKED = EventHandler::getInstance()->addEvent("Scene", "SCENE_STRUCTURE_UNLOCKED");
[[maybe_unused]] static const EventType SCENE_ELEMENT_ADDED = EventHandler::getInstance()->addEvent("Scene", "SCENE_ELEMENT_ADDED");
[[maybe_unused]] static const EventType SCENE_ELEMENT_REMOVED = EventHandler::getInstance()->addEvent("Scene", "SCENE_ELEMENT_REMOVED");
[[maybe_unused]] static const EventType SCENE_ELEMENT_RENAMED = EventHandler::getInstance()->addEvent("Scene", "SCENE_ELEMENT_RENAMED");
[[maybe_unused]] static const EventType SCENE_ELEMENT_FOCUSED = EventHandler::getInstance()->addEvent("Scene", "SCENE_ELEMENT_FOCUSED");
[[maybe_unused]] static const EventType SCENE_ELEMENT_SHOWN = EventHandler::getInstance()->addEvent("Scene", "SCENE_ELEMENT_SHOWN");
[[maybe_unused]] static const EventType SCENE_ELEMENT_HIDDEN = EventHandler::getInstance()->addEvent("Scene", "SCENE_ELEMENT_HIDDEN");
[[maybe_unused]] static const EventType SCENE_ELEMENT_BBOX_SHOWN = EventHandler::getInstance()->addEvent("Scene", "SCENE_ELEMENT_BBOX_SHOWN");
[[maybe_unused]] static const EventType SCENE_ELEMENT_BBOX_HIDDEN = EventHandler::getInstance()->addEvent("Scene", "SCENE_ELEMENT_BBOX_HIDDEN");
[[maybe_unused]] static const EventType SCENE_ELEMENT_CHILD_ADDED = EventHandler::getInstance()->addEvent("Scene", "SCENE_ELEMENT_CHILD_ADDED");
[[maybe_unused]] static const EventType SCENE_ELEMENT_CHILD_REMOVED = EventHandler::getInstance()->addEvent("Scene", "SCENE_ELEMENT_CHILD_REMOVED");
[[maybe_unused]] static const EventType SCENE_ELEMENT_CHILDS_REORDERED = EventHandler::getInstance()->addEvent("Scene", "SCENE_ELEMENT_CHILDS_REORDERED");
[[maybe_unused]] static const EventType SCENE_ELEMENT_BEFORE_DELETED = EventHandler::getInstance()->addEvent("Scene", "SCENE_ELEMENT_BEFORE_DELETED");
[[maybe_unused]] static const EventType SCENE_ELEMENT_DELETED = EventHandler::getInstance()->addEvent("Scene", "SCENE_ELEMENT_DELETED");
[[maybe_unused]] static const EventType SCENE_ELEMENT_TRANSFORM_START = EventHandler::getInstance()->addEvent("Scene", "SCENE_ELEMENT_TRANSFORM_START");
[[maybe_unused]] static const EventType SCENE_ELEMENT_TRANSFORM_FINISH = EventHandler::getInstance()->addEvent("Scene", "SCENE_ELEMENT_TRANSFORM_FINISH");
[[maybe_unused]] static const EventType SCENE_ELEMENT_TRANSFORM_FINISHED = EventHandler::getInstance()->addEvent("Scene", "SCENE_ELEMENT_TRANSFORM_FINISHED");
[[maybe_unused]] static const EventType SCENE_ELEMENT_TRANSFORM_STARTING = EventHandler::getInstance()->addEvent("Scene", "SCENE_ELEMENT_TRANSFORM_STARTING");
[[maybe_unused]] static const EventType SCENE_ELEMENT_MULTIPLE_TRANSFORM_START = EventHandler::getInstance()->addEvent("Scene", "SCENE_ELEMENT_MULTIPLE_TRANSFORM_START");
[[maybe_unused]] static const EventType SCENE_ELEMENT_MULTIPLE_TRANSFORM_FINISH = EventHandler::getInstance()->addEvent("Scene", "SCENE_ELEMENT_MULTIPLE_TRANSFORM_FINISH");
[[maybe_unused]] static const EventType SCENEPANEL_CHANGED = EventHandler::getInstance()->addEvent("Scene", "SCENEPANEL_CHANGED");
[[maybe_unused]] static const EventType LINESSCENEELEMENT_DATACHANGED = EventHandler::getInstance()->addEvent("Scene", "LINESSCENEELEMENT_DATACHANGED");
[[maybe_unused]] static const EventType LINESSCENEELEMENT_COLORCHANGED = EventHandler::getInstance()->addEvent("Scene", "LINESSCENEELEMENT_COLORCHANGED");
[[maybe_unused]] static const EventType RESCALE_DATA = EventHandler::getInstance()->addEvent("Scene", "RESCALE_DATA");
[[maybe_unused]] static const EventType SCENE_REDRAW = EventHandler::getInstance()->addEvent("Scene", "SCENE_REDRAW");
// clang-format on

} // namespace tov::events::scene
