#pragma once

#include "kernel/main/export.h"
#include "kernel/util/zpointer.h"

#include <QString>

namespace tov::main {

/// Converts values of one type from and to text. Held through `ZPointer`. Thread: any.
class TOV_EXPORT CastClass : public tov::util::ZReferenced
{
public:
    /// True when values must be freed by `deleteValue` rather than by `delete`.
    bool needsSpecialDeletion() const { return m_NeedsSpecialDeletion; }

    /// Converts a text to a newly allocated value, which the caller owns. Throws `std::invalid_argument` (or another
    /// exception) when the text is not a value of the type.
    virtual void* fromString(const QString& text) = 0;
    /// The value as a text that `fromString` accepts, if the type has a text form.
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
