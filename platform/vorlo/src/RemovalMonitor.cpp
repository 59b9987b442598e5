#include "RemovalMonitor.h"

#include <condition_variable>
#include <deque>
#include <mutex>

namespace Vorlo
{
namespace Internal
{
    struct CRemovalMonitor::Private
    {
        std::mutex mutex;
        std::condition_variable wake;
        std::condition_variable drained;
        std::deque<std::function<void()>> tasks;
        bool stop = false;
        bool busy = false;
        std::thread thread;

        void Run()
        {
            std::unique_lock<std::mutex> lock(mutex);
            for (;;)
            {
                wake.wait(lock, [this] { return stop || !tasks.empty(); });
                if (tasks.empty() && stop)
                    break;
                std::function<void()> task = std::move(tasks.front());
                tasks.pop_front();
                busy = true;
                lock.unlock();
                try
                {
                    task();
                }
                catch (...)
                {
                    // A failing notification must not end the monitor.
                }
                lock.lock();
                busy = false;
                drained.notify_all();
            }
        }
    };

    CRemovalMonitor& CRemovalMonitor::Instance()
    {
        static CRemovalMonitor instance;
        return instance;
    }

    CRemovalMonitor::CRemovalMonitor()
        : d(new Private)
    {
        d->thread = std::thread([this] { d->Run(); });
    }

    CRemovalMonitor::~CRemovalMonitor()
    {
        {
            std::lock_guard<std::mutex> lock(d->mutex);
            d->stop = true;
        }
        d->wake.notify_all();
        if (d->thread.joinable())
            d->thread.join();
        delete d;
    }

    void CRemovalMonitor::Post(std::function<void()> task)
    {
        {
            std::lock_guard<std::mutex> lock(d->mutex);
            d->tasks.push_back(std::move(task));
        }
        d->wake.notify_all();
    }

    bool CRemovalMonitor::IsMonitorThread() const
    {
        return std::this_thread::get_id() == d->thread.get_id();
    }

    void CRemovalMonitor::Drain()
    {
        if (IsMonitorThread())
            return;
        std::unique_lock<std::mutex> lock(d->mutex);
        d->drained.wait(lock, [this] { return d->tasks.empty() && !d->busy; });
    }
}
}
