#pragma once

#include "kernel/main/castclass.h"
#include "kernel/main/export.h"
#include "kernel/util/zpointer.h"

#include <QString>

#include <mutex>
#include <typeinfo>

namespace tov::main {

class ParameterPanelFactory;

/// A named value of any type, for parameter sets and dialogs; `Parameter` is the typed class. Thread: one at a
/// time, except for the GUI default, which any thread may read and write.
class TOV_EXPORT AbstractParameter
{
public:
    /// `defaultText`: default for the command language (empty = none). `mandatory`: the command language requires a
    /// value or a default. `panelFactory`: editor for dialogs, not owned, may be null.
    AbstractParameter(const QString& name, const QString& description, const QString& defaultText, bool mandatory,
                      ParameterPanelFactory* panelFactory);
    AbstractParameter(const AbstractParameter&) = delete;
    AbstractParameter& operator=(const AbstractParameter&) = delete;
    /// Frees neither the value nor the panel factory, which may already be destroyed.
    virtual ~AbstractParameter();

    /// Takes a value from text; false (logged) when it cannot be converted.
    virtual bool castString(const QString& text) = 0;
    /// The value as text; empty without a value.
    virtual QString toString() = 0;
    /// Frees the value if the parameter owns it. The parameter then has no value.
    virtual void deleteValue() = 0;
    /// Shares the value of another parameter of the same type; anything else is ignored.
    virtual void takeValueFrom(AbstractParameter* other) = 0;
    /// True while there is a value.
    virtual bool hasValue() = 0;
    /// Addresses and name for diagnosis, ending with a line feed.
    virtual QString toDebugString() = 0;
    /// The value, or null. See `deletesOnSet` for the ownership.
    virtual void* getValuePointer() = 0;
    /// Replaces the value; the type must be right, see `assignTyped`.
    virtual void setValuePointer(void* value) = 0;
    /// Mirrors the value pointer into a command's member, given by its address; null unbinds.
    virtual void bindTo(void* member) = 0;

    /// With `true` the parameter drops values without freeing them. A new parameter frees them.
    void disableDeleteOnSet(bool disable) { m_DeleteOnSet = !disable; }
    /// True when the parameter owns its value.
    bool deletesOnSet() const { return m_DeleteOnSet; }

    /// The name of the argument in the command language.
    QString getName() const { return m_Name; }
    /// What the argument means, in one line for the user.
    QString getDescription() const { return m_Description; }
    /// The default of the command language; empty = none.
    QString getDefaultText() const { return m_DefaultText; }
    /// True when the command language requires a value or a default.
    bool isMandatory() const { return m_Mandatory; }
    /// The type of the value; see `isSameType`.
    const std::type_info* getType() const { return mp_Type; }
    /// The conversion between text and value; null for parameters that hold text.
    tov::util::ZPointer<CastClass> getCastClass() const { return mp_CastClass; }

    /// The value that dialogs propose and that a command text uses when it omits the argument. Null = none. Settings
    /// commands change it on the command thread while dialogs read it. Thread: any.
    void setDefaultParameterForDefaultGUI(const QString& text)
    {
        std::lock_guard<std::mutex> guard(m_GUIDefaultMutex);
        m_GUIDefault = text;
    }
    /// What `setDefaultParameterForDefaultGUI` set last. Thread: any.
    QString getDefaultParameterForDefaultGUI() const
    {
        std::lock_guard<std::mutex> guard(m_GUIDefaultMutex);
        return m_GUIDefault;
    }
    /// The editor for dialogs; not owned.
    void setParameterPanelFactory(ParameterPanelFactory* factory) { mp_PanelFactory = factory; }
    /// The editor for dialogs; not owned, may be null.
    ParameterPanelFactory* getParameterPanelFactory() const { return mp_PanelFactory; }

protected:
    tov::util::ZPointer<CastClass> mp_CastClass; ///< null for text
    const std::type_info* mp_Type = nullptr;
    bool m_DeleteOnSet = true;
    QString m_Name;

private:
    QString m_Description;
    QString m_DefaultText;
    bool m_Mandatory;
    mutable std::mutex m_GUIDefaultMutex;
    QString m_GUIDefault; ///< guarded by m_GUIDefaultMutex
    ParameterPanelFactory* mp_PanelFactory;
};

/// True when a parameter whose stored type is `stored` may hold a value of type `given`: equal name pointers, or equal
/// names where the stored one does not begin with "*" (names of types local to one library do).
TOV_EXPORT bool isSameType(const std::type_info* stored, const std::type_info& given);

} // namespace tov::main
