#include <QTest>

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>

#include "support/MediaMaker.h"

using ambrel::test::MediaMaker;

class AmbrelRenderTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void rendersARegionAsItIs() {
        const auto told = rendered("in:% out --from 0.25 --to 0.75 --passes 2");
        for (const char* measured : {"cpuSeconds", "worstBlockMs"})
            QVERIFY(told[QLatin1String(measured)].toDouble(-1) >= 0);
        const std::vector<float> samples = MediaMaker::decode(output_);
        QCOMPARE(samples.size(), std::size_t{4 * 22050});
        // But for the first 3 ms, the 5 ms before the second pass, and the last 3.
        const auto isTheFile = [&](int from, int to) {
            return std::equal(samples.begin() + 2 * from, samples.begin() + 2 * to,
                              phrase_.samples.begin() + 2 * (11025 + from % 22050));
        };
        QVERIFY(isTheFile(133, 22050 - 221));
        QVERIFY(isTheFile(22050, 2 * 22050 - 133));
    }

    void lastsAsLongAsItShould() {
        const std::tuple<const char*, double, int> cases[] = {
            {"in:% out --rate 0.5 --pitch -350", 2, 44100},
            {"in:% out --rate 2.5 --eq 6,0,-6,3,12", 0.4, 44100},
            {"in:% out --device-rate 48000", 1, 48000},
            {"slow out --to 5 --rate 2 --device-rate 44100", 2.5, 44100},
            {"in:% out --set 0.5:rate=0.5 --set 0.2:pitch=100", 1.5, 44100},
        };
        for (const auto& [arguments, seconds, rateHz] : cases) {
            const auto told = rendered(arguments);
            QCOMPARE(told[u"sampleRate"_qs].toInt(), rateHz);
            // A change midway is heard a little after it is made.
            QCOMPARE_LT(std::abs(told[u"frames"_qs].toDouble() / rateHz - seconds), 0.1);
            const QByteArray first = MediaMaker::bytesOf(output_);
            rendered(arguments);
            QVERIFY(MediaMaker::bytesOf(output_) == first);
        }
    }

  private:
    /// In a folder with the phrase as “in:%” and, with 1,000 frames a second, as “slow”.
    int run(const char* arguments) {
        process_.setWorkingDirectory(QString::fromStdString(media_.folder().string()));
        process_.start(qEnvironmentVariable("AMBREL_BINARY_DIR") + u"/tools/ambrel-render"_qs,
                       QString::fromUtf8(arguments).split(u' ', Qt::SkipEmptyParts));
        return process_.waitForFinished(120'000) ? process_.exitCode() : -1;
    }

    QJsonObject rendered(const char* arguments) {
        const bool isDone = run(arguments) == 0;
        const QByteArray told = isDone ? process_.readAllStandardOutput() : QByteArray();
        return QJsonDocument::fromJson(told).object();
    }

    QProcess process_;
    const MediaMaker media_;
    const ambrel::test::Sound phrase_ = MediaMaker::phrase(1);
    const std::filesystem::path input_ = media_.wav("in:%", phrase_);
    const std::filesystem::path slow_ = media_.wav("slow", {1000, 2, phrase_.samples});
    const std::filesystem::path output_ = media_.path("out");
};

QTEST_GUILESS_MAIN(AmbrelRenderTest)
#include "AmbrelRenderTest.moc"
