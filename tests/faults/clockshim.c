/* Preloaded into the program under test: sets the system clock; monotonic clocks stay.
 *
 * TOV_CLOCK=back      an hour back after 300 ms
 *           forth     an hour forward after 300 ms
 *           both      an hour back, correct, an hour forward, correct, ... every 100 ms
 *           midnight  half a second before midnight (UTC) at the start
 *           leap      the same, at the end of a leap day
 */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

#define SECOND 1000000000ll
#define HOUR (3600 * SECOND)
#define DAY (24 * HOUR)

static const char* mode;
static int64_t began, constant;

static int64_t ask(clockid_t clock)
{
    struct timespec now;
    syscall(SYS_clock_gettime, clock, &now);
    return now.tv_sec * SECOND + now.tv_nsec;
}

static void __attribute__((constructor)) begin(void)
{
    began = ask(CLOCK_MONOTONIC);
    const int64_t now = ask(CLOCK_REALTIME);
    const char* text = getenv("TOV_CLOCK");
    if (!text)
        return;
    if (strcmp(text, "midnight") == 0)
        constant = DAY - now % DAY - SECOND / 2;
    if (strcmp(text, "leap") == 0)
        constant = 951868800 * SECOND - now - SECOND / 2; /* 1 March 2000, after a leap day */
    mode = text;
}

static int64_t now_of_day(void)
{
    const int64_t now = ask(CLOCK_REALTIME) + constant;
    const int64_t since = (ask(CLOCK_MONOTONIC) - began) / (SECOND / 1000);
    if (!mode || since < 300)
        return now;
    if (strcmp(mode, "back") == 0)
        return now - HOUR;
    if (strcmp(mode, "forth") == 0)
        return now + HOUR;
    if (strcmp(mode, "both") == 0) {
        static const int hours[] = {-1, 0, 1, 0};
        return now + hours[since / 100 % 4] * HOUR;
    }
    return now;
}

int clock_gettime(clockid_t clock, struct timespec* result)
{
    if (clock != CLOCK_REALTIME && clock != CLOCK_REALTIME_COARSE)
        return (int)syscall(SYS_clock_gettime, clock, result);
    const int64_t now = now_of_day();
    result->tv_sec = now / SECOND;
    result->tv_nsec = now % SECOND;
    return 0;
}

int gettimeofday(struct timeval* restrict result, void* restrict zone)
{
    (void)zone;
    const int64_t now = now_of_day();
    result->tv_sec = now / SECOND;
    result->tv_usec = now % SECOND / 1000;
    return 0;
}

time_t time(time_t* result)
{
    const time_t now = now_of_day() / SECOND;
    if (result)
        *result = now;
    return now;
}
