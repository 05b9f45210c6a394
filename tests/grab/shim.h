#pragma once

#include "tests/grab/glshim.h"

#include <gtest/gtest.h>

#include <dlfcn.h>

namespace tov::test {

/// A variable of the preloaded shim (glshim.cpp). Thread: any.
template <typename T>
T& shim(const char* name)
{
    static T none{};
    void* found = dlsym(RTLD_DEFAULT, name);
    EXPECT_TRUE(found) << name << ": the shim is not loaded";
    return found ? *static_cast<T*>(found) : none;
}

inline ShimHooks& shimHooks()
{
    return shim<ShimHooks>("shimHooks");
}

} // namespace tov::test
