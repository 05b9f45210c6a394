#pragma once

#include "kernel/workers/worker.h"
#include "kernel/util/delegate.h"

namespace tov::main {

/// Workers that call delegates.
class TOV_EXPORT WorkerDelegate
{
public:
    /// Runs a delegate on the application thread and owns it.
    class TOV_EXPORT InternalWorker : public Worker
    {
    public:
        InternalWorker(tov::util::DelegateBase* delegate, bool creatorKeepsOwnership);
        ~InternalWorker() override;

    protected:
        void run() override;

    private:
        tov::util::DelegateBase* mp_Delegate; ///< owned
    };
};

} // namespace tov::main
