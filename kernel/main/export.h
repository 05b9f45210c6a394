#pragma once

/// Makes a class or function visible outside its shared library.
#define TOV_EXPORT __attribute__((visibility("default")))
