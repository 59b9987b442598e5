#pragma once
// The recursive lock that guards a node map, and its scoped holder.

#include <mutex>

#include <GenICam/GCTypes.h>

namespace GenICam
{
    //! A recursive lock: the thread that holds it may take it again
    class GENAPI_EXPORT CLock
    {
    public:
        CLock();
        ~CLock();
        CLock(const CLock&) = delete;
        CLock& operator=(const CLock&) = delete;

        //! Takes the lock, waiting as long as another thread holds it
        void Lock();
        //! Releases one level of the lock
        void Unlock();
        //! Takes the lock if that is possible without waiting
        bool TryLock();

    private:
        std::recursive_mutex m_Mutex;
    };

    //! Holds a CLock for the lifetime of the object
    class AutoLock
    {
    public:
        explicit AutoLock(CLock& lock) : m_Lock(lock) { m_Lock.Lock(); }
        ~AutoLock() { m_Lock.Unlock(); }
        AutoLock(const AutoLock&) = delete;
        AutoLock& operator=(const AutoLock&) = delete;

    private:
        CLock& m_Lock;
    };
}
