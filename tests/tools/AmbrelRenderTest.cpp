#include <cstring>

#include <QTest>

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>

#include "support/MediaMaker.h"

using ambrel::test::MediaMaker;

namespace {

struct Ran {
    int status = -1;
    QByteArray output;
    QByteArray errors;
};

Ran runRender(const QStringList& arguments) {
    QProcess process;
    process.start(qEnvironmentVariable("AMBREL_BINARY_DIR") +
                      QStringLiteral("/tools/ambrel-render"),
                  arguments);
    if (!process.waitForFinished(120'000))
        return {};
    return {process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError()};
}

} // namespace

class AmbrelRenderTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void writesARegionAsItIs() {
        const Ran ran =
            runRender(QStringList{input_, output_} + words("--from 0.25 --to 0.75 --passes 2"));
        QCOMPARE(ran.status, 0);
        const QJsonObject told = QJsonDocument::fromJson(ran.output).object();
        QCOMPARE(told[QStringLiteral("frames")].toInt(), 2 * 22050);
        QCOMPARE(told[QStringLiteral("sampleRate")].toInt(), 44100);
        QCOMPARE(told[QStringLiteral("channels")].toInt(), 2);
        QVERIFY(told[QStringLiteral("cpuSeconds")].toDouble(-1) >= 0);
        QVERIFY(told[QStringLiteral("worstBlockMs")].toDouble(-1) >= 0);
        const QByteArray bytes = written();
        const qsizetype data = bytes.indexOf("data") + 8;
        std::vector<float> samples(4 * 22050);
        QCOMPARE(bytes.size() - data, qsizetype(samples.size() * sizeof(float)));
        std::memcpy(samples.data(), bytes.constData() + data, samples.size() * sizeof(float));
        // But for the first 3 ms, the 5 ms before the second pass, and the last 3.
        const auto isTheFile = [&](int from, int to) {
            return std::equal(samples.begin() + 2 * from, samples.begin() + 2 * to,
                              phrase_.samples.begin() + 2 * (11025 + from % 22050));
        };
        QVERIFY(isTheFile(133, 22050 - 221));
        QVERIFY(isTheFile(22050, 2 * 22050 - 133));
    }

    void lastsAsLongAsItShould() {
        struct Case {
            const char* arguments;
            double seconds;
            int sampleRateHz;
        };
        for (const Case& c : {
                 Case{"--rate 0.5 --pitch -350", 2, 44100},
                 Case{"--rate 2.5 --eq 6,0,-6,3,12", 0.4, 44100},
                 Case{"--device-rate 48000", 1, 48000},
                 Case{"--rate 0.5 --set 1:rate=1", 1.5, 44100},
                 Case{"--set 0.5:rate=0.5 --set 0.2:pitch=100", 1.5, 44100},
             }) {
            const QStringList call = QStringList{input_, output_} + words(c.arguments);
            const Ran ran = runRender(call);
            QCOMPARE(ran.status, 0);
            const QJsonObject told = QJsonDocument::fromJson(ran.output).object();
            QCOMPARE(told[QStringLiteral("sampleRate")].toInt(), c.sampleRateHz);
            const double lasted = told[QStringLiteral("frames")].toDouble() / c.sampleRateHz;
            // A change midway is heard a little after it is made.
            const bool changes = call.contains(QStringLiteral("--set"));
            QCOMPARE_LT(std::abs(lasted - c.seconds), changes ? 0.1 : 0.03);
            const QByteArray first = written();
            if (changes)
                QCOMPARE(runRender(call).status, 0);
            QVERIFY(written() == first); // equal calls write equal bytes
        }
    }

    void refusesInOneLine_data() {
        QTest::addColumn<QString>("arguments");
        for (const char* bad :
             {"", "IN", "/nowhere.wav /nowhere/out.wav", "IN /nowhere/out.wav", "IN IN"})
            QTest::newRow(bad) << QString::fromLatin1(bad);
        for (const char* bad :
             {"--rate 0", "--rate nan", "--rate 3.1", "--pitch 1201", "--pitch x", "--eq 1,2,3,4",
              "--eq 1,2,3,4,x", "--passes 0", "--passes 1.5", "--device-rate 100",
              "--from 2 --to 1", "--from 0.5 --to 0.5", "--from -1", "--set 1:speed=2",
              "--set rate=2", "--set 1:rate=9", "--unknown", "extra"})
            QTest::newRow(bad) << QStringLiteral("IN OUT ") + QString::fromLatin1(bad);
    }
    void refusesInOneLine() {
        QFETCH(QString, arguments);
        QStringList call = arguments.split(u' ', Qt::SkipEmptyParts);
        call.replaceInStrings(QRegularExpression(QStringLiteral("^IN$")), input_);
        call.replaceInStrings(QRegularExpression(QStringLiteral("^OUT$")), output_);
        const Ran ran = runRender(call);
        QCOMPARE(ran.status, 2);
        QVERIFY(ran.output.isEmpty());
        QVERIFY2(ran.errors.count('\n') == 1 && ran.errors.size() > 10, ran.errors.constData());
        QCOMPARE(ran.errors.contains("overwritten"), arguments == QStringLiteral("IN IN"));
    }

  private:
    static QStringList words(const char* text) { return QString::fromLatin1(text).split(u' '); }
    QByteArray written() const { return MediaMaker::bytesOf(output_.toStdString()); }

    const MediaMaker media_;
    const ambrel::test::Sound phrase_ = MediaMaker::phrase(1);
    const QString input_ = QString::fromStdString(media_.wav("in: 100%.wav", phrase_).string());
    const QString output_ = QString::fromStdString(media_.path("out.wav").string());
};

QTEST_GUILESS_MAIN(AmbrelRenderTest)
#include "AmbrelRenderTest.moc"
