#pragma once
// Frame and data rates over a sliding window of image arrivals.

#include <VorloQtBase/vorloqtbase_export.h>

#include <chrono>
#include <deque>
#include <functional>

// Not thread-safe: a camera that fills it on its grab thread and reads it on the GUI thread
// guards it with its own lock.
class VORLOQTBASE_EXPORT FpsStatistic
{
public:
    using TimePoint = std::chrono::steady_clock::time_point;
    using Clock = std::function<TimePoint()>;

    // A window of windowSize samples (at least 2). The clock gives "now" for addSample();
    // the default is std::chrono::steady_clock::now. Tests pass their own.
    explicit FpsStatistic(unsigned windowSize, Clock clock = Clock());

    // Records one image of `bytes` bytes that arrived now. The oldest sample drops out when
    // the window is full.
    void addSample(unsigned long bytes);

    // Over the window: frames per second = (samples - 1) / (newest - oldest arrival),
    // bytes per second = bytes of all samples but the oldest / the same time span.
    // False (and the outputs untouched) until the window holds two samples that are apart
    // in time. Either output may be null.
    bool computeResult(double* fps, unsigned long* bytesPerSecond) const;

    // Shortens the window to its newest two samples so that a changed rate shows quickly.
    // When fps is not null it receives the rate between those two, or -1.0 if there are fewer
    // than two samples or no time lies between them. Returns whether two samples remain.
    bool removeAllButLastTwoSamples(double* fps);

    // Empties the window.
    void reset();

    unsigned windowSize() const { return m_windowSize; }
    unsigned sampleCount() const { return static_cast<unsigned>(m_samples.size()); }

private:
    struct Sample
    {
        TimePoint time;
        unsigned long bytes;
    };

    unsigned m_windowSize;
    Clock m_clock;
    std::deque<Sample> m_samples;
};
