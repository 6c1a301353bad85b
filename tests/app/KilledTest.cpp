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

const QUrl kFile = QUrl::fromLocalFile(QStringLiteral("/music/a.wav"));

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

} // namespace

/// AMBREL_KILLS: how many, in all; 20 unless it is set.
class KilledTest : public QObject {
    Q_OBJECT

  private:
    struct Lane {
        QTemporaryDir folder;
        QString path = folder.filePath(QStringLiteral("preferences.sqlite"));
        QProcess program;
        double stood = 0; ///< the last speed that was there for 0.45 s
    };

    static void start(Lane& lane) {
        lane.program.start(QCoreApplication::applicationFilePath(),
                           {QStringLiteral("--child"), lane.path});
    }

    static void kill(Lane& lane) {
        lane.program.kill();
        QVERIFY(lane.program.waitForFinished());
        for (const QByteArray& line : lane.program.readAllStandardOutput().split('\n')) {
            const auto numbers = line.split(' ');
            if (numbers.size() == 2 && numbers[1].toInt() >= 450)
                lane.stood = numbers[0].toDouble();
        }
        SQLite::Database database(lane.path.toStdString(), SQLite::OPEN_READWRITE);
        QCOMPARE(database.execAndGet("PRAGMA integrity_check").getString(), std::string("ok"));
        Preferences preferences(lane.path.toStdString());
        const auto stored = SettingsStore(preferences).load(kFile);
        QVERIFY2(!(lane.stood > 0) || (stored && stored->speed >= lane.stood),
                 qPrintable(QString::number(lane.stood)));
        QVERIFY(QDir(lane.folder.path()).entryList({QStringLiteral("*damaged*")}).isEmpty());
    }

  private Q_SLOTS:
    void whatStoodForAMomentIsThere() {
        const int kills = qEnvironmentVariable("AMBREL_KILLS", QStringLiteral("20")).toInt();
        std::array<Lane, 5> lanes; // one after the other would take minutes
        std::mt19937 random(1);
        for (int done = 0; done < kills; done += int(lanes.size())) {
            for (Lane& lane : lanes)
                start(lane);
            for (Lane& lane : lanes)
                QVERIFY(lane.program.waitForReadyRead());
            for (Lane& lane : lanes) {
                QTest::qWait(int(random() % 600));
                kill(lane);
            }
        }
        // Or nothing has been tried. The first lane is killed so soon that it may have nothing.
        QVERIFY(std::ranges::any_of(lanes, [](const Lane& lane) { return lane.stood > 100; }));
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
