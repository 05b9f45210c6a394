#pragma once

#include "kernel/log/logger.h"
#include "kernel/main/abstractparameter.h"
#include "kernel/main/castclassmanager.h"

#include <QString>

#include <type_traits>
#include <typeinfo>

namespace tov::main {

/// A parameter with a value of type `T`, held by pointer; see `AbstractParameter`. The value can be mirrored into a
/// pointer member of the owning command: while bound, the member always equals the value pointer. Text is converted by
/// the type's cast class, only `QString` needs none. Thread: one at a time.
template <typename T>
class Parameter : public AbstractParameter
{
public:
    /// `name` is used by the command language and by dialogs; `description` is translated. The parameter starts without
    /// a value, unbound, mandatory and without an editor.
    Parameter(const QString& name, const QString& description)
        : AbstractParameter(name, description, QString(), true, nullptr)
    {
        mp_Type = &typeid(T);
        if constexpr (!std::is_same_v<T, QString>)
            mp_CastClass =
                tov::util::ZPointer<CastClass>(CastClassManager::getInstance()->createCastClassForType(&typeid(T)));
    }

    /// Does not free the value: its owner does.
    ~Parameter() override {}

    bool castString(const QString& text) override
    {
        try {
            T* value;
            if constexpr (std::is_same_v<T, QString>)
                value = new QString(text);
            else
                value = static_cast<T*>(mp_CastClass->fromString(text));
            try {
                freeValue();
            } catch (...) {
                // The old value stays; the new one has no owner.
                deletePlainly(value);
                throw;
            }
            store(value);
            return true;
        } catch (...) {
            // Support staff look records up by these line numbers, so they are literals.
            tov::log::Logger::log(tov::log::LevelParameter, "../kernel/main/parameter", 87, "castString", nullptr,
                                  "Parameter::castString() There was an error!");
            return false;
        }
    }

    QString toString() override
    {
        if (!mp_Value)
            return QString();
        if constexpr (std::is_same_v<T, QString>)
            return *mp_Value;
        else
            return mp_CastClass->toString(mp_Value);
    }

    void deleteValue() override
    {
        freeLogged();
        store(nullptr);
    }

    void takeValueFrom(AbstractParameter* other) override
    {
        if (!other)
            return;
        auto* same = dynamic_cast<Parameter*>(other);
        if (!same)
            return;
        replace(same->mp_Value);
    }

    bool hasValue() override { return mp_Value != nullptr; }

    QString toDebugString() override
    {
        return QString::asprintf("%p (%s): value: %p  binded: %p\n", static_cast<void*>(this),
                                 m_Name.toLocal8Bit().constData(), static_cast<void*>(mp_Value),
                                 static_cast<void*>(mp_Binding));
    }

    void* getValuePointer() override { return mp_Value; }

    void setValuePointer(void* value) override { replace(static_cast<T*>(value)); }

    void bindTo(void* member) override
    {
        deleteValue();
        mp_Binding = static_cast<T**>(member);
        if (mp_Binding)
            replace(*mp_Binding);
    }

private:
    static void deletePlainly(T* value) { delete value; }

    /// Frees the value if it is owned. May throw what the cast class throws.
    void freeValue()
    {
        if (!m_DeleteOnSet)
            return;
        if (mp_CastClass && mp_Value && mp_CastClass->needsSpecialDeletion())
            mp_CastClass->deleteValue(mp_Value);
        else
            deletePlainly(mp_Value);
    }

    void freeLogged()
    {
        try {
            freeValue();
        } catch (...) {
            tov::log::Logger::log(tov::log::LevelParameter, "../kernel/main/parameter", 194, "deleteValue", nullptr,
                                  "Save your data!");
        }
    }

    void store(T* value)
    {
        mp_Value = value;
        if (mp_Binding)
            *mp_Binding = value;
    }

    /// Replaces the value; a value that is there already stays as it is.
    void replace(T* value)
    {
        if (value != mp_Value)
            freeLogged();
        store(value);
    }

    T* mp_Value = nullptr;    ///< owned while the delete-on-set flag is set
    T** mp_Binding = nullptr; ///< a command's member; null when unbound
};

/// Stores a value into a parameter that is known only as `AbstractParameter`. When the types differ, reports it on Qt's
/// critical message log and leaves the parameter unchanged; returns whether the types agree. Thread: one at a time.
template <typename T>
bool assignTyped(AbstractParameter* parameter, T* value)
{
    const std::type_info* stored = parameter->getType();
    if (!isSameType(stored, typeid(T))) {
        const char* name = stored ? stored->name() : "";
        qCritical("Invalid type! (%s <-> %s)", *name == '*' ? name + 1 : name, typeid(T).name());
        return false;
    }
    parameter->setValuePointer(const_cast<std::remove_const_t<T>*>(value));
    return true;
}

/// The value of a parameter that is known only as `AbstractParameter`; null, with a critical message in Qt's log, when
/// it has another type. Thread: one at a time.
template <typename T>
T* fetchTyped(AbstractParameter* parameter)
{
    if (!isSameType(parameter->getType(), typeid(T))) {
        qCritical("Invalid type!");
        return nullptr;
    }
    return static_cast<T*>(parameter->getValuePointer());
}

} // namespace tov::main
