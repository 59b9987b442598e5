#include <VorloQtBase/fpsstatistic.h>

#include <QtTest>

#include <chrono>

using namespace std::chrono_literals;

// A clock that only moves when the test says so.
struct ManualClock
{
    FpsStatistic::TimePoint now{};
    FpsStatistic::Clock function()
    {
        return [this] { return now; };
    }
};

class tst_FpsStatistic : public QObject
{
    Q_OBJECT

private slots:
    void noResultWithoutSamples();
    void noResultWithOneSample();
    void noResultWhenSamplesShareOneMoment();
    void steadyRate_data();
    void steadyRate();
    void windowDropsOldestSamples();
    void outputsMayBeNull();
    void removeAllButLastTwoSamples();
    void removeWithFewerThanTwoSamples();
    void resetEmptiesTheWindow();
    void windowSizeBelowTwoCountsAsTwo();
    void defaultClockIsSteady();
};

void tst_FpsStatistic::noResultWithoutSamples()
{
    ManualClock clock;
    FpsStatistic stat(10, clock.function());
    double fps = 123.0;
    unsigned long bps = 456;
    QVERIFY(!stat.computeResult(&fps, &bps));
    QCOMPARE(fps, 123.0); // untouched
    QCOMPARE(bps, 456ul);
}

void tst_FpsStatistic::noResultWithOneSample()
{
    ManualClock clock;
    FpsStatistic stat(10, clock.function());
    stat.addSample(1000);
    double fps = 0;
    unsigned long bps = 0;
    QVERIFY(!stat.computeResult(&fps, &bps));
}

void tst_FpsStatistic::noResultWhenSamplesShareOneMoment()
{
    ManualClock clock;
    FpsStatistic stat(10, clock.function());
    stat.addSample(1000);
    stat.addSample(1000);
    QVERIFY(!stat.computeResult(nullptr, nullptr));
}

void tst_FpsStatistic::steadyRate_data()
{
    QTest::addColumn<int>("intervalMs");
    QTest::addColumn<int>("bytes");
    QTest::addColumn<int>("samples");
    QTest::addColumn<double>("expectedFps");
    QTest::addColumn<qulonglong>("expectedBytesPerSecond");

    QTest::newRow("25 fps, 1 MB images") << 40 << 1000000 << 10 << 25.0 << 25000000ull;
    QTest::newRow("100 fps, 4 kB images") << 10 << 4096 << 50 << 100.0 << 409600ull;
    QTest::newRow("1 fps, two samples") << 1000 << 5000 << 2 << 1.0 << 5000ull;
    QTest::newRow("window full, 50 of 80 samples used") << 20 << 100 << 80 << 50.0 << 5000ull;
}

void tst_FpsStatistic::steadyRate()
{
    QFETCH(int, intervalMs);
    QFETCH(int, bytes);
    QFETCH(int, samples);
    QFETCH(double, expectedFps);
    QFETCH(qulonglong, expectedBytesPerSecond);

    ManualClock clock;
    FpsStatistic stat(50, clock.function());
    for (int i = 0; i < samples; ++i) {
        stat.addSample(static_cast<unsigned long>(bytes));
        clock.now += std::chrono::milliseconds(intervalMs);
    }
    double fps = 0;
    unsigned long bps = 0;
    QVERIFY(stat.computeResult(&fps, &bps));
    QCOMPARE(fps, expectedFps);
    QCOMPARE(qulonglong(bps), expectedBytesPerSecond);
}

void tst_FpsStatistic::windowDropsOldestSamples()
{
    ManualClock clock;
    FpsStatistic stat(3, clock.function());
    // Slow samples first, then fast ones: only the last three count.
    stat.addSample(1);
    clock.now += 1s;
    stat.addSample(1);
    clock.now += 1s;
    stat.addSample(10);
    clock.now += 100ms;
    stat.addSample(10);
    clock.now += 100ms;
    stat.addSample(10);
    QCOMPARE(stat.sampleCount(), 3u);
    double fps = 0;
    unsigned long bps = 0;
    QVERIFY(stat.computeResult(&fps, &bps));
    QCOMPARE(fps, 10.0);
    QCOMPARE(bps, 100ul);
}

void tst_FpsStatistic::outputsMayBeNull()
{
    ManualClock clock;
    FpsStatistic stat(5, clock.function());
    stat.addSample(10);
    clock.now += 500ms;
    stat.addSample(10);
    double fps = 0;
    QVERIFY(stat.computeResult(&fps, nullptr));
    QCOMPARE(fps, 2.0);
    unsigned long bps = 0;
    QVERIFY(stat.computeResult(nullptr, &bps));
    QCOMPARE(bps, 20ul);
}

void tst_FpsStatistic::removeAllButLastTwoSamples()
{
    ManualClock clock;
    FpsStatistic stat(50, clock.function());
    for (int i = 0; i < 5; ++i) {
        stat.addSample(100);
        clock.now += 1s;
    }
    stat.addSample(100);
    clock.now += 250ms;
    stat.addSample(100);
    double fps = 0;
    QVERIFY(stat.removeAllButLastTwoSamples(&fps));
    QCOMPARE(fps, 4.0);
    QCOMPARE(stat.sampleCount(), 2u);
    QVERIFY(stat.removeAllButLastTwoSamples(nullptr));
    double again = 0;
    QVERIFY(stat.computeResult(&again, nullptr));
    QCOMPARE(again, 4.0);
}

void tst_FpsStatistic::removeWithFewerThanTwoSamples()
{
    ManualClock clock;
    FpsStatistic stat(50, clock.function());
    stat.addSample(1);
    double fps = 7.0;
    QVERIFY(!stat.removeAllButLastTwoSamples(&fps));
    QCOMPARE(fps, -1.0);
    QCOMPARE(stat.sampleCount(), 1u);
}

void tst_FpsStatistic::resetEmptiesTheWindow()
{
    ManualClock clock;
    FpsStatistic stat(50, clock.function());
    stat.addSample(1);
    clock.now += 1s;
    stat.addSample(1);
    QVERIFY(stat.computeResult(nullptr, nullptr));
    stat.reset();
    QCOMPARE(stat.sampleCount(), 0u);
    QVERIFY(!stat.computeResult(nullptr, nullptr));
}

void tst_FpsStatistic::windowSizeBelowTwoCountsAsTwo()
{
    ManualClock clock;
    FpsStatistic stat(0, clock.function());
    QCOMPARE(stat.windowSize(), 2u);
    stat.addSample(5);
    clock.now += 200ms;
    stat.addSample(5);
    clock.now += 200ms;
    stat.addSample(5);
    double fps = 0;
    QVERIFY(stat.computeResult(&fps, nullptr));
    QCOMPARE(fps, 5.0);
}

void tst_FpsStatistic::defaultClockIsSteady()
{
    FpsStatistic stat(10);
    stat.addSample(1);
    // The steady clock moves on; the second sample is taken once it has.
    const auto start = std::chrono::steady_clock::now();
    while (std::chrono::steady_clock::now() == start) {
    }
    stat.addSample(1);
    double fps = 0;
    QVERIFY(stat.computeResult(&fps, nullptr));
    QVERIFY(fps > 0.0);
}

QTEST_APPLESS_MAIN(tst_FpsStatistic)
#include "tst_fpsstatistic.moc"
