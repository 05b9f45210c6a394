#pragma once

#include "kernel/main/castclass.h"
#include "kernel/main/export.h"

#include <functional>
#include <memory>
#include <typeinfo>

namespace tov::main {

/// Knows the cast class of each parameter type: bool, int, double, `QImage` and `Matrix<double, 4u, 4u>` from the
/// start; libraries add their own types. Types are the same when their `type_info`s are equal. Thread: any.
class TOV_EXPORT CastClassManager
{
public:
    /// The manager of the process; never null.
    static CastClassManager* getInstance();
    /// A new cast class for the type; null when the type is unknown. Hold it through `ZPointer`.
    CastClass* createCastClassForType(const std::type_info* type) const;
    /// Adds or replaces a type's creation function, which must outlive every use.
    void registerCastClass(const std::type_info& type, std::function<CastClass*()> create);

private:
    CastClassManager();
    ~CastClassManager();
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace tov::main
