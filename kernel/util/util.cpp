#include "kernel/util/delegate.h"
#include "kernel/util/zpointer.h"

namespace tov::util {

ZReferenced::~ZReferenced() = default;

DelegateBase::~DelegateBase() = default;

FunctionDelegate::FunctionDelegate(std::function<void()> function) : m_Function(std::move(function)) {}
FunctionDelegate::~FunctionDelegate() = default;

void FunctionDelegate::call()
{
    m_Function();
}

} // namespace tov::util
