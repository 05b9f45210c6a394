#pragma once

#include "kernel/main/export.h"
#include "kernel/util/zpointer.h"

#include <QString>

namespace tov::main {

/// Converts values of one type from and to text. Held through `ZPointer`. Thread: any.
class TOV_EXPORT CastClass : public tov::util::ZReferenced
{
public:
    /// True when values must be freed by `deleteValue` rather than by the type's plain deletion.
    bool needsSpecialDeletion() const { return m_NeedsSpecialDeletion; }

    /// A newly allocated value of the text; the caller owns it. Throws `std::invalid_argument` (or another exception)
    /// when the text is no value of the type.
    virtual void* fromString(const QString& text) = 0;
    /// The value as text that `fromString` reads, where the type has such a text.
    virtual QString toString(const void* value) = 0;
    /// Frees a value.
    virtual void deleteValue(void* value) = 0;

protected:
    explicit CastClass(bool needsSpecialDeletion) : m_NeedsSpecialDeletion(needsSpecialDeletion) {}
    ~CastClass() override;

private:
    bool m_NeedsSpecialDeletion;
};

} // namespace tov::main
