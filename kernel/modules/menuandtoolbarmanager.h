#pragma once

namespace tov::main {

/// Places of commands in menus, tool bars and settings.
class MenuAndToolbarManager
{
public:
    /// The kinds of placement, the keys of `Module::GUIDescriptions`.
    enum Kind
    {
        Menu = 1,
        ToolBar = 2,
        Settings = 8,
    };

    /// The place of a group or entry among its neighbours, in ascending order.
    class Position
    {
    public:
        Position(int position = 0) : m_Position(position) {}
        /// The number by which neighbours are sorted.
        int value() const { return m_Position; }
        bool operator==(const Position& other) const = default;
        /// True when this place comes first.
        bool operator<(const Position& other) const { return m_Position < other.m_Position; }

    private:
        int m_Position;
    };
};

} // namespace tov::main
