#pragma once

namespace tov::main {

/// Places of commands in menus, tool bars and settings.
class MenuAndToolbarManager
{
public:
    /// The placement kinds that a module's GUI table is keyed by.
    enum Kind
    {
        Menu = 1,
        ToolBar = 2,
        Settings = 8,
    };

    /// Where a group or entry stands among its neighbours: ascending.
    class Position
    {
    public:
        Position(int position = 0) : m_Position(position) {}
        int value() const { return m_Position; }
        bool operator==(const Position& other) const = default;
        bool operator<(const Position& other) const { return m_Position < other.m_Position; }

    private:
        int m_Position;
    };
};

} // namespace tov::main
