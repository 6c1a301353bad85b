#include <algorithm>
#include <array>
#include <iostream>
#include <random>

#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <SQLiteCpp/SQLiteCpp.h>

#include "app/AppState.h"
#include "platform/desktop/MainQueue.h"
#include "platform/store/Preferences.h"
#include "store/SettingsStore.h"

using namespace ambrel;

namespace {

const QUrl kFile = QUrl::fromLocalFile(u"/music/a.wav"_qs);

/// The program that is killed: goes on changing the open file's speed from the stored one upwards,
/// and says all the time which it is and for how many milliseconds it has been that.
int changeForEver(const char* path) {
    Preferences preferences(path);
    SettingsStore store(preferences);
    MainQueue queue;
    const auto state = AppState::create(store, queue);
    state->beginSettings(kFile);
    state->applySettings(store.load(kFile).value_or(FileSettings()));
    std::mt19937 random(std::random_device{}());
    QElapsedTimer standing;
    qint64 change = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] {
        if (!standing.isValid() || standing.elapsed() > change) {
            state->setSpeed(state->speed() + 1);
            standing.start();
            change = random() % 700;
        }
        std::cout << state->speed() << ' ' << standing.elapsed() << std::endl;
    });
    timer.start(5);
    return QCoreApplication::exec();
}

/// One of the programs that run side by side, each on a store of its own.
struct Lane {
    QTemporaryDir folder;
    QString path = folder.filePath(u"preferences.sqlite"_qs);
    QProcess program;
    double stood = 0; ///< the last speed that was there for 0.45 s

    void kill() {
        program.kill();
        QVERIFY(program.waitForFinished());
        for (const QByteArray& line : program.readAllStandardOutput().split('\n')) {
            const auto numbers = line.split(' ');
            if (numbers.size() == 2 && numbers[1].toInt() >= 450)
                stood = numbers[0].toDouble();
        }
        SQLite::Database database(path.toStdString(), SQLite::OPEN_READWRITE);
        QCOMPARE(database.execAndGet("PRAGMA integrity_check").getString(), std::string("ok"));
        Preferences preferences(path.toStdString());
        const auto stored = SettingsStore(preferences).load(kFile);
        QVERIFY2(!(stood > 0) || (stored && stored->speed >= stood),
                 qPrintable(QString::number(stood)));
        QVERIFY(QDir(folder.path()).entryList({u"*damaged*"_qs}).isEmpty());
    }
};

} // namespace

/// AMBREL_KILLS: how many, in all; 20 unless it is set.
class KilledTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void whatStoodForAMomentIsThere() {
        const int kills = qEnvironmentVariable("AMBREL_KILLS", u"20"_qs).toInt();
        std::array<Lane, 10> lanes;
        std::mt19937 random(1);
        for (int done = 0; done < kills; done += int(lanes.size())) {
            for (Lane& lane : lanes)
                lane.program.start(QCoreApplication::applicationFilePath(),
                                   {u"--child"_qs, lane.path});
            for (Lane& lane : lanes) {
                QVERIFY(lane.program.waitForReadyRead());
                QTest::qWait(int(random() % 200));
                lane.kill();
            }
        }
        // Or nothing has been tried. The first lane is killed so soon that it may have nothing.
        QVERIFY(std::ranges::any_of(lanes, [](auto& lane) { return lane.stood > 100; }));
    }
};

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    if (argc == 3 && std::string(argv[1]) == "--child")
        return changeForEver(argv[2]);
    KilledTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "KilledTest.moc"
