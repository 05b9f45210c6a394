// Misbehaves while the library is loaded, before any of its functions is called.

#include <cstdlib>
#include <stdexcept>
#include <unistd.h>

namespace {

struct Start
{
    Start()
    {
#if defined(TOV_HANGS)
        for (;;)
            pause();
#elif defined(TOV_THROWS)
        throw std::runtime_error("while loading");
#else
        std::exit(0);
#endif
    }
} start;

} // namespace
