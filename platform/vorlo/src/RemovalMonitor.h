#pragma once
// The SDK's removal monitor thread: device removal notifications run on it, one after another,
// away from the threads that detect the loss (a stream thread, a heartbeat, a test hook).

#include <functional>
#include <thread>

namespace Vorlo
{
namespace Internal
{
    class CRemovalMonitor
    {
    public:
        static CRemovalMonitor& Instance();
        //! Queues a task; it runs soon on the monitor thread
        void Post(std::function<void()> task);
        bool IsMonitorThread() const;
        //! Waits until every task posted before has run (for tests and orderly shutdown)
        void Drain();

    private:
        CRemovalMonitor();
        ~CRemovalMonitor();
        struct Private;
        Private* d;
    };
}
}
