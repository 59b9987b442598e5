#pragma once
// A list of callbacks that may be invoked on one thread while another adds or removes entries.
// Removing waits for a running invocation to end, except on the invoking thread itself, so that
// a caller may destroy what the callback uses as soon as Remove returns.

#include <algorithm>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace Vorlo
{
namespace Internal
{
    template <class... Args>
    class CCallbackList
    {
    public:
        typedef std::function<void(Args...)> Function;

        intptr_t Add(Function function)
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            const intptr_t id = m_nextId++;
            m_entries.push_back(Entry{ id, std::move(function) });
            return id;
        }

        bool Remove(intptr_t id)
        {
            std::unique_lock<std::mutex> lock(m_mutex);
            auto it = std::find_if(m_entries.begin(), m_entries.end(), [id](const Entry& e) { return e.id == id; });
            if (it == m_entries.end())
                return false;
            m_entries.erase(it);
            WaitForOtherInvokers(lock);
            return true;
        }

        void Invoke(Args... args)
        {
            std::vector<intptr_t> ids;
            {
                std::lock_guard<std::mutex> lock(m_mutex);
                for (const Entry& e : m_entries)
                    ids.push_back(e.id);
                m_invokers.push_back(std::this_thread::get_id());
            }
            for (intptr_t id : ids)
            {
                Function function;
                {
                    // An entry removed meanwhile is skipped; its remover waits for us only while
                    // we run it, so the copy is taken under the lock.
                    std::lock_guard<std::mutex> lock(m_mutex);
                    auto it = std::find_if(m_entries.begin(), m_entries.end(), [id](const Entry& e) { return e.id == id; });
                    if (it == m_entries.end())
                        continue;
                    function = it->function;
                }
                function(args...);
            }
            {
                std::lock_guard<std::mutex> lock(m_mutex);
                m_invokers.erase(std::find(m_invokers.begin(), m_invokers.end(), std::this_thread::get_id()));
            }
            m_idle.notify_all();
        }

        size_t Size() const
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            return m_entries.size();
        }

    private:
        struct Entry
        {
            intptr_t id;
            Function function;
        };

        void WaitForOtherInvokers(std::unique_lock<std::mutex>& lock)
        {
            const std::thread::id self = std::this_thread::get_id();
            m_idle.wait(lock, [&] {
                return std::all_of(m_invokers.begin(), m_invokers.end(), [&](std::thread::id t) { return t == self; });
            });
        }

        mutable std::mutex m_mutex;
        std::condition_variable m_idle;
        std::vector<Entry> m_entries;
        std::vector<std::thread::id> m_invokers;
        intptr_t m_nextId = 1;
    };
}
}
