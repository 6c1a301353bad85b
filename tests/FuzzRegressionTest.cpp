#include <ctime>
#include <fstream>
#include <map>

#include <QDirIterator>
#include <QTest>

#include "Targets.h"
#include "support/MediaMaker.h"

using namespace ambrel;

namespace {

const std::map<QString, void (*)(fuzz::Bytes)> targets = {
    {u"audioFile"_qs, fuzz::audioFile},
    {u"records"_qs, fuzz::records},
    {u"addresses"_qs, fuzz::addresses},
    {u"numbers"_qs, fuzz::numbers},
};

/// In MB; "VmRSS:" what is used now, "VmHWM:" the most since the peak was forgotten.
long memory(const std::string& which) {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        long kilobytes = 0;
        if (word == which && status >> kilobytes)
            return kilobytes / 1024;
    }
    return 0;
}

} // namespace

/// Repeats what ever failed, or took too much, when it was found by fuzz/run.
class FuzzRegressionTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void bears_data() {
        QTest::addColumn<QString>("target");
        QTest::addColumn<QString>("file");
        const auto folder = qEnvironmentVariable("AMBREL_SOURCE_DIR") + u"/fuzz/regressions"_qs;
        QDirIterator files(folder, QDir::Files, QDirIterator::Subdirectories);
        while (files.hasNext()) {
            const QFileInfo file(files.next());
            QTest::addRow("%s", qPrintable(file.fileName()))
                << file.dir().dirName() << file.filePath();
        }
    }
    void bears() {
        QFETCH(QString, target);
        QFETCH(QString, file);
        const QByteArray input = test::MediaMaker::bytesOf(file.toStdString());
        targets.at(target)({});                      // loads what it needs
        std::ofstream("/proc/self/clear_refs") << 5; // forgets the peak
        const long before = memory("VmRSS:");
        const std::clock_t begun = std::clock();
        targets.at(target)(
            {reinterpret_cast<const std::uint8_t*>(input.data()), std::size_t(input.size())});
        QCOMPARE_LT(double(std::clock() - begun) / CLOCKS_PER_SEC, 2.0);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // those keep what was freed
        QCOMPARE_LT(memory("VmHWM:") - before, 64);
#else
        Q_UNUSED(before);
#endif
    }
};

QTEST_GUILESS_MAIN(FuzzRegressionTest)
#include "FuzzRegressionTest.moc"
