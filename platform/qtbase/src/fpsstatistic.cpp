#include <VorloQtBase/fpsstatistic.h>

#include <algorithm>

FpsStatistic::FpsStatistic(unsigned windowSize, Clock clock)
    : m_windowSize(std::max(windowSize, 2u))
    , m_clock(clock ? std::move(clock) : Clock([] { return std::chrono::steady_clock::now(); }))
{
}

void FpsStatistic::addSample(unsigned long bytes)
{
    m_samples.push_back(Sample{m_clock(), bytes});
    while (m_samples.size() > m_windowSize)
        m_samples.pop_front();
}

bool FpsStatistic::computeResult(double* fps, unsigned long* bytesPerSecond) const
{
    if (m_samples.size() < 2)
        return false;
    const std::chrono::duration<double> span = m_samples.back().time - m_samples.front().time;
    const double seconds = span.count();
    if (seconds <= 0.0)
        return false;
    double bytes = 0.0;
    for (auto it = std::next(m_samples.begin()); it != m_samples.end(); ++it)
        bytes += static_cast<double>(it->bytes);
    if (fps)
        *fps = static_cast<double>(m_samples.size() - 1) / seconds;
    if (bytesPerSecond)
        *bytesPerSecond = static_cast<unsigned long>(bytes / seconds + 0.5);
    return true;
}

bool FpsStatistic::removeAllButLastTwoSamples(double* fps)
{
    while (m_samples.size() > 2)
        m_samples.pop_front();
    if (fps) {
        *fps = -1.0;
        computeResult(fps, nullptr);
    }
    return m_samples.size() == 2;
}

void FpsStatistic::reset()
{
    m_samples.clear();
}
