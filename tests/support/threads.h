#pragma once

namespace tov::test {

/// The calling thread's number, as the system counts. Thread: any.
int threadId();
/// State of this process's thread of that number: 'R' runs, 'S' sleeps; 0 when there is none. Thread: any.
char threadState(int id);
/// How often that thread has gone to sleep of its own accord; -1 when there is none. Thread: any.
long threadSleeps(int id);

} // namespace tov::test
