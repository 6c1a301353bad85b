#include <QTest>

#include <algorithm>
#include <cmath>
#include <functional>

#include "platform/sound/AudioGraph.h"
#include "support/ClockedOutput.h"
#include "support/SoundMeasures.h"
#include "support/SyntheticFile.h"
#include "support/sound/DeviceCases.h"

using namespace ambrel;
using namespace ambrel::test;

namespace {

/// Frames before `end` since the last that is not silent.
std::int64_t silenceBefore(const std::vector<float>& mono, std::int64_t end) {
    std::int64_t begin = end;
    while (begin > 0 && mono[std::size_t(begin - 1)] == 0)
        --begin;
    return end - begin;
}

std::vector<Measure> missedIn(const DeviceCase& deviceCase) {
    DeviceOrdeal ordeal(0.7);
    deviceCase.run(ordeal);
    std::vector<Measure> measures = ordeal.finish(Margins::busy);
    std::erase_if(measures, std::mem_fn(&Measure::isReached));
    return measures;
}

} // namespace

/// What a musician hears of a loop while sound devices come and go.
class DevicesTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void theLoopGoesOnAndItsSoundComesBack_data() {
        QTest::addColumn<const DeviceCase*>("deviceCase");
        for (const DeviceCase& deviceCase : deviceCases())
            QTest::newRow(deviceCase.name) << &deviceCase;
    }
    void theLoopGoesOnAndItsSoundComesBack() {
        QFETCH(const DeviceCase*, deviceCase);
        // A machine that is held up spoils a try, a fault every one.
        std::vector<Measure> missed;
        for (int attempt = 0; attempt < 3; ++attempt) {
            missed = missedIn(*deviceCase);
            if (missed.empty() || !std::ranges::all_of(missed, &Measure::isTimed))
                break;
            for (const Measure& measure : missed)
                qInfo("%s: %g %s", measure.what, measure.got, measure.unit);
        }
        for (const Measure& measure : missed)
            QFAIL(qPrintable(QStringLiteral("%1: %2 %3")
                                 .arg(QLatin1String(measure.what))
                                 .arg(measure.got)
                                 .arg(QLatin1String(measure.unit))));
    }

    /// A device that comes at another rate in the middle of a pause takes nothing off it, nor does
    /// the next.
    void aPauseOutlivesItsDevice() {
        constexpr int firstHz = 44'100, secondHz = 32'000, thirdHz = 48'000;
        const auto file = SyntheticFile::numbered(thirdHz, 60'000);
        auto* const output = new ClockedOutput(firstHz, firstHz / 100, 1);
        const auto owned = AudioGraph::create(std::unique_ptr<AudioOutput>(output));
        AudioGraph& graph = *owned;
        const auto isSilent = [&](std::size_t frames) {
            return rms(output->lastFrames(frames)) == 0;
        };
        graph.start();
        graph.scheduleSegment(
            file, 5'000, 9'600, [] {}, Announcement{1, 5'000, 9'600, 1.0});
        graph.play();
        QTRY_VERIFY(!isSilent(100));
        QTRY_VERIFY(isSilent(firstHz / 5));
        const std::int64_t second = output->replaceDevice(secondHz, secondHz / 100);
        QTRY_VERIFY(output->framesWritten() > second + secondHz / 5);
        const std::int64_t third = output->replaceDevice(thirdHz, thirdHz / 100);
        QTRY_VERIFY(!isSilent(100));
        QTRY_VERIFY(output->framesWritten() > third + thirdHz);

        const std::vector<float> heard = channelOf(output->frames(), 0);
        const auto sound = std::find_if(heard.begin() + second, heard.end(),
                                        [](float sample) { return sample != 0; });
        const std::int64_t begin = sound - heard.begin();
        QCOMPARE_GT(begin, third);
        const double pause = double(silenceBefore(heard, second)) / firstHz +
                             double(third - second) / secondHz + double(begin - third) / thirdHz;
        QCOMPARE_GT(pause, 0.999);
        QCOMPARE_LT(pause, 1.4); // each device waits for its first frames
        // Behind its fade the pass is there from its first frame on.
        for (std::int64_t i = 150; i < 5'000; ++i)
            QCOMPARE(heard[std::size_t(begin + i)], file->at(5'000 + i).first);
    }
};

QTEST_GUILESS_MAIN(DevicesTest)
#include "DevicesTest.moc"
