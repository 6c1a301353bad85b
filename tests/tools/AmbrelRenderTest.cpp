#include <QTest>

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>

namespace {

/// A stereo WAV of 16-bit samples: a ramp, every frame different from the next.
QByteArray rampWav(int frames) {
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out.setByteOrder(QDataStream::LittleEndian);
    out.writeRawData("RIFF", 4);
    out << quint32(36 + 4 * frames);
    out.writeRawData("WAVEfmt ", 8);
    out << quint32(16) << quint16(1) << quint16(2) << quint32(44100) << quint32(4 * 44100)
        << quint16(4) << quint16(16);
    out.writeRawData("data", 4);
    out << quint32(4 * frames);
    for (int i = 0; i < frames; ++i)
        out << qint16(i % 30000) << qint16(-(i % 20000));
    return bytes;
}

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
    void initTestCase();
    void writesARegionAsItIs();
    void lastsAsLongAsItShould_data();
    void lastsAsLongAsItShould();
    void equalCallsWriteEqualBytes();
    void refusesInOneLine_data();
    void refusesInOneLine();

  private:
    QByteArray read(const QString& name) const {
        QFile file(folder_.filePath(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    QTemporaryDir folder_;
    QString input_;
    QString output_;
};

void AmbrelRenderTest::initTestCase() {
    input_ = folder_.filePath(QStringLiteral("in: 100%.wav"));
    output_ = folder_.filePath(QStringLiteral("out.wav"));
    QFile file(input_);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(rampWav(44100));
}

void AmbrelRenderTest::writesARegionAsItIs() {
    const Ran ran = runRender({input_, output_, QStringLiteral("--from"), QStringLiteral("0.25"),
                               QStringLiteral("--to"), QStringLiteral("0.75"),
                               QStringLiteral("--passes"), QStringLiteral("2")});
    QCOMPARE(ran.status, 0);
    const QJsonObject told = QJsonDocument::fromJson(ran.output).object();
    QCOMPARE(told[QStringLiteral("frames")].toInt(), 2 * 22050);
    QCOMPARE(told[QStringLiteral("sampleRate")].toInt(), 44100);
    QCOMPARE(told[QStringLiteral("channels")].toInt(), 2);
    QVERIFY(told[QStringLiteral("cpuSeconds")].toDouble(-1) >= 0);
    QVERIFY(told[QStringLiteral("worstBlockMs")].toDouble(-1) >= 0);
    const QByteArray bytes = read(QStringLiteral("out.wav"));
    const qsizetype data = bytes.indexOf("data") + 8;
    QCOMPARE(bytes.size() - data, qsizetype(2 * 22050 * 8));
    std::vector<float> samples(4 * 22050);
    memcpy(samples.data(), bytes.constData() + data, samples.size() * sizeof(float));
    for (int pass = 0; pass < 2; ++pass)
        for (int i = 200; i < 22050 - 200; ++i)
            QCOMPARE(samples[std::size_t(2 * (pass * 22050 + i))],
                     float((11025 + i) % 30000) / 32768.0F);
}

void AmbrelRenderTest::lastsAsLongAsItShould_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<double>("seconds");
    QTest::addColumn<int>("sampleRate");
    const auto words = [](const char* text) {
        return QString::fromLatin1(text).split(QLatin1Char(' '));
    };
    QTest::newRow("half speed, transposed") << words("--rate 0.5 --pitch -350") << 2.0 << 44100;
    QTest::newRow("fast, equalised") << words("--rate 2.5 --eq 6,0,-6,3,12") << 0.4 << 44100;
    QTest::newRow("another rate") << words("--device-rate 48000") << 1.0 << 48000;
    QTest::newRow("faster midway") << words("--rate 0.5 --set 1:rate=1") << 1.5 << 44100;
    QTest::newRow("slower midway")
        << words("--set 0.5:rate=0.5 --set 0.2:pitch=100") << 1.5 << 44100;
}

void AmbrelRenderTest::lastsAsLongAsItShould() {
    QFETCH(QStringList, arguments);
    QFETCH(double, seconds);
    QFETCH(int, sampleRate);
    const Ran ran = runRender(QStringList{input_, output_} + arguments);
    QCOMPARE(ran.status, 0);
    const QJsonObject told = QJsonDocument::fromJson(ran.output).object();
    QCOMPARE(told[QStringLiteral("sampleRate")].toInt(), sampleRate);
    const double lasted = told[QStringLiteral("frames")].toDouble() / sampleRate;
    // A change midway is heard a little after it is made.
    const double tolerance = arguments.contains(QStringLiteral("--set")) ? 0.1 : 0.03;
    QVERIFY2(std::abs(lasted - seconds) < tolerance, qPrintable(QString::number(lasted)));
}

void AmbrelRenderTest::equalCallsWriteEqualBytes() {
    const QStringList call{input_,
                           output_,
                           QStringLiteral("--rate"),
                           QStringLiteral("0.7"),
                           QStringLiteral("--set"),
                           QStringLiteral("0.3:rate=1.3")};
    QCOMPARE(runRender(call).status, 0);
    const QByteArray first = read(QStringLiteral("out.wav"));
    QCOMPARE(runRender(call).status, 0);
    QVERIFY(!first.isEmpty() && read(QStringLiteral("out.wav")) == first);
}

void AmbrelRenderTest::refusesInOneLine_data() {
    QTest::addColumn<QString>("arguments");
    QTest::newRow("nothing") << QString();
    QTest::newRow("no output") << QStringLiteral("IN");
    QTest::newRow("missing file") << QStringLiteral("/nowhere.wav OUT");
    QTest::newRow("unwritable") << QStringLiteral("IN /nowhere/out.wav");
    QTest::newRow("onto itself") << QStringLiteral("IN IN");
    for (const char* bad :
         {"--rate 0", "--rate nan", "--rate 3.1", "--pitch 1201", "--pitch x", "--eq 1,2,3,4",
          "--eq 1,2,3,4,x", "--passes 0", "--passes 1.5", "--device-rate 100", "--from 2 --to 1",
          "--from 0.5 --to 0.5", "--from -1", "--set 1:speed=2", "--set rate=2", "--set 1:rate=9",
          "--unknown", "extra"})
        QTest::newRow(bad) << QStringLiteral("IN OUT ") + QString::fromLatin1(bad);
}

void AmbrelRenderTest::refusesInOneLine() {
    QFETCH(QString, arguments);
    QStringList words = arguments.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    words.replaceInStrings(QRegularExpression(QStringLiteral("^IN$")), input_);
    words.replaceInStrings(QRegularExpression(QStringLiteral("^OUT$")), output_);
    const Ran ran = runRender(words);
    QCOMPARE(ran.status, 2);
    QVERIFY(ran.output.isEmpty());
    QVERIFY2(ran.errors.count('\n') == 1 && ran.errors.size() > 10, ran.errors.constData());
}

QTEST_GUILESS_MAIN(AmbrelRenderTest)
#include "AmbrelRenderTest.moc"
