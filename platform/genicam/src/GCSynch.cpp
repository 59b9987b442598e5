#include <GenICam/GCSynch.h>

namespace GenICam
{
    CLock::CLock() = default;
    CLock::~CLock() = default;

    void CLock::Lock() { m_Mutex.lock(); }
    void CLock::Unlock() { m_Mutex.unlock(); }
    bool CLock::TryLock() { return m_Mutex.try_lock(); }
}
