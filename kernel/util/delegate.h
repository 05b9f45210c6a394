#pragma once

#include "kernel/main/export.h"

#include <functional>

namespace tov::util {

/// A call that can be made any number of times. Owned by the worker that it is given to, else by its creator.
class TOV_EXPORT DelegateBase
{
public:
    DelegateBase() = default;
    DelegateBase(const DelegateBase&) = delete;
    DelegateBase& operator=(const DelegateBase&) = delete;
    virtual ~DelegateBase();
    /// Makes the call. Throws what the function throws. Thread: any.
    virtual void call() = 0;
};

/// A delegate that calls a function object.
class TOV_EXPORT FunctionDelegate : public DelegateBase
{
public:
    explicit FunctionDelegate(std::function<void()> function);
    ~FunctionDelegate() override;
    void call() override;

private:
    std::function<void()> m_Function;
};

/// A delegate that calls a method without arguments on an object, which must outlive it.
template <typename T>
class Delegate0 : public DelegateBase
{
public:
    typedef void (T::*Method)();
    Delegate0(T* object, Method method) : mp_Object(object), m_Method(method) {}
    void call() override { (mp_Object->*m_Method)(); }

private:
    T* mp_Object;
    Method m_Method;
};

} // namespace tov::util
