#include "scene/sceneelement.h"

#include <algorithm>
#include <atomic>

namespace tov::scene {

namespace {
std::atomic<std::uint64_t> nextId{1};
}

SceneElement::SceneElement(const QString& name) : m_Id(nextId++), m_Name(name) {}

SceneElement::~SceneElement()
{
    // Iterative: a file may nest elements deeper than the stack allows.
    std::vector<SceneElement*> pending;
    pending.swap(m_Children);
    while (!pending.empty()) {
        SceneElement* element = pending.back();
        pending.pop_back();
        pending.insert(pending.end(), element->m_Children.begin(), element->m_Children.end());
        element->m_Children.clear();
        delete element;
    }
}

void SceneElement::addChild(SceneElement* child)
{
    child->mp_Parent = this;
    m_Children.push_back(child);
}

void SceneElement::insertChild(std::size_t index, SceneElement* child)
{
    child->mp_Parent = this;
    m_Children.insert(m_Children.begin() + std::ptrdiff_t(std::min(index, m_Children.size())), child);
}

SceneElement* SceneElement::takeChild(SceneElement* child)
{
    const auto found = std::find(m_Children.begin(), m_Children.end(), child);
    if (found == m_Children.end())
        return nullptr;
    m_Children.erase(found);
    child->mp_Parent = nullptr;
    return child;
}

SceneElement* SceneElement::find(const QString& name)
{
    std::vector<SceneElement*> pending{this};
    while (!pending.empty()) {
        SceneElement* element = pending.back();
        pending.pop_back();
        if (element->m_Name.compare(name, Qt::CaseInsensitive) == 0)
            return element;
        pending.insert(pending.end(), element->m_Children.rbegin(), element->m_Children.rend());
    }
    return nullptr;
}

} // namespace tov::scene
