#pragma once

namespace tov::test {

/// The system's number of the calling thread. Thread: any.
int threadId();
/// The state of a thread of this process: 'R' = running, 'S' = sleeping, 0 = no such thread. Thread: any.
char threadState(int id);
/// The number of voluntary context switches of that thread; -1 when it does not exist. Thread: any.
long threadSleeps(int id);

} // namespace tov::test
