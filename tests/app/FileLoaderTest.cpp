#include <atomic>
#include <future>
#include <optional>
#include <thread>

#include <QTemporaryDir>
#include <QTest>

#include "app/FileLoader.h"
#include "support/ScriptedPlayer.h"

using namespace ambrel;

namespace {

const QString opening = QStringLiteral("Opening file...");
const QString cached = QStringLiteral("Loading cached waveform...");
const QString generating = QStringLiteral("Generating waveform...");
const QString loaded = QStringLiteral("loaded");
const QString idle = QStringLiteral("idle");

QUrl fileNamed(const QString& name) {
    return QUrl::fromLocalFile(QStringLiteral("/music/%1.wav").arg(name));
}

const QUrl fileA = fileNamed(QStringLiteral("a"));
const QUrl fileB = fileNamed(QStringLiteral("b"));

} // namespace

class FileLoaderTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init();
    void cleanup();

    void opensAFileWithTheDefaults();
    void restoresSavedSettings();
    void whatIsSetWhileAFileOpensIsTheEarlierFiles_data();
    void whatIsSetWhileAFileOpensIsTheEarlierFiles();
    void showsEveryMessageOnceAndInOrder();
    void reportsWhatFails_data();
    void reportsWhatFails();
    void acceptsTheLongestFile();
    void theNewestLoadWins();
    void aCachedWaveformIsNotMadeAgain();
    void whatWasMadeForNobodyIsKept();
    void theLastOfManyLoadsWins();
    void endsAtAnyMoment_data();
    void endsAtAnyMoment();

  private:
    std::vector<float> extract(const QUrl& url, const WaveformGenerator::Progress& progress,
                               const std::atomic<bool>& ending);
    void noteLoadingState();
    QUrl existingFile(const QString& name);

    QTemporaryDir folder_;
    std::optional<test::ScriptedPlayer> player_;
    std::unique_ptr<FileLoader> loader_;
    FileLoader::Extract extract_; ///< absent: one peak, no progress
    std::atomic<int> extracted_ = 0;
    QStringList seen_; ///< every loading state, in order
    QStringList alerts_;
};

void FileLoaderTest::init() {
    player_.emplace();
    player_->graph->addFile(fileA, 10);
    player_->graph->addFile(fileB, 20);
    extract_ = nullptr;
    extracted_ = 0;
    loader_ = std::make_unique<FileLoader>(
        player_->state, player_->engine, player_->settings.store(),
        player_->settings.waveformCache(), player_->settings.recentFiles(), player_->queue,
        [this](const QString& message) { alerts_ << message; },
        std::bind_front(&FileLoaderTest::extract, this));
    seen_.clear();
    alerts_.clear();
    connect(player_->state.get(), &AppState::changed, this, [this](AppState::Field field) {
        if (field == AppState::Field::loadingState)
            noteLoadingState();
    });
}

void FileLoaderTest::cleanup() {
    loader_.reset();
    player_.reset();
}

std::vector<float> FileLoaderTest::extract(const QUrl& url,
                                           const WaveformGenerator::Progress& progress,
                                           const std::atomic<bool>& ending) {
    auto peaks = extract_ ? extract_(url, progress, ending) : std::vector<float>{1};
    ++extracted_;
    return peaks;
}

void FileLoaderTest::noteLoadingState() {
    const auto& now = player_->state->loadingState();
    seen_ << (now.isLoading() ? now.message : now.isLoaded() ? loaded : idle);
}

/// A file that can be examined, which the cache wants; what is heard of it is scripted.
QUrl FileLoaderTest::existingFile(const QString& name) {
    QFile file(folder_.filePath(name));
    if (!file.open(QFile::WriteOnly))
        qFatal("no file to load");
    const QUrl url = QUrl::fromLocalFile(file.fileName());
    player_->graph->addFile(url, 10);
    return url;
}

void FileLoaderTest::opensAFileWithTheDefaults() {
    player_->settings.store().save({.regionEnd = 5, .speed = 70}, fileA);
    player_->state->setSpeed(50);
    player_->state->setWaveformSamples({1, 1});
    extract_ = [](auto&&...) { return std::vector<float>{0.5F, 1}; };
    loader_->loadFile(fileA, false);
    QCOMPARE(seen_, QStringList(opening));
    QCOMPARE(player_->state->audioFileURL(), fileA);
    QVERIFY2(player_->state->waveformSamples().empty(), "the old waveform goes at once");
    QCOMPARE(player_->state->speed(), 50.0);

    QTRY_VERIFY(player_->state->loadingState().isLoaded());
    QCOMPARE(seen_, (QStringList{opening, generating, loaded}));
    QCOMPARE(player_->state->audioDuration(), 10.0);
    FileSettings defaults;
    defaults.regionEnd = 10;
    QCOMPARE(player_->state->currentSettings(), defaults);
    QCOMPARE(player_->state->waveformSamples(), (std::vector<float>{0.5F, 1}));
    QCOMPARE(player_->graph->rate, 1.0F);
    QCOMPARE(player_->graph->opened().size(), std::size_t{1});
    QTRY_COMPARE(player_->settings.store().load(fileA), std::optional(defaults));
}

void FileLoaderTest::restoresSavedSettings() {
    const FileSettings saved{.regionStart = 8,
                             .regionEnd = 80, // beyond the file's end: taken as it is
                             .speed = 70,
                             .speedStep = 1,
                             .pitch = -150,
                             .eqEnabled = true,
                             .eqGains = {1, 2, 3, 4, 5, 6},
                             .loopEnabled = true,
                             .loopDelaySeconds = 1,
                             .loopDelayMilliseconds = 2};
    player_->settings.store().save(saved, fileA);
    extract_ = [this](auto&&...) {
        // The sound is set before there is a waveform to see.
        return std::vector<float>{player_->graph->rate, player_->graph->pitch};
    };
    loader_->loadFile(fileA, true);
    QTRY_VERIFY(player_->state->loadingState().isLoaded());
    QCOMPARE(player_->state->currentSettings(), saved);
    QCOMPARE(player_->state->waveformSamples(), (std::vector<float>{0.7F, -150}));
    QVERIFY(!player_->graph->bypass);
    QCOMPARE(player_->graph->gains, (std::map<int, float>{{0, 1}, {1, 2}, {2, 3}, {3, 4}, {4, 5}}));
}

void FileLoaderTest::whatIsSetWhileAFileOpensIsTheEarlierFiles_data() {
    QTest::addColumn<std::function<void()>>("meanwhile");
    const auto row = [](const char* name, std::function<void()> meanwhile) {
        QTest::newRow(name) << std::move(meanwhile);
    };
    row("nothing", [] {});
    row("the end", [this] { player_->state->saveSettings(); });
    row("a third file", [this] { loader_->loadFile(fileNamed(QStringLiteral("c")), false); });
    row("a rest", [this] {
        QTRY_COMPARE(player_->settings.store().load(fileA)->pitch, -5.0); // by itself
    });
}

/// A disk may take its time: nothing that was stored for the file that opens is touched by then.
void FileLoaderTest::whatIsSetWhileAFileOpensIsTheEarlierFiles() {
    QFETCH(std::function<void()>, meanwhile);
    const FileSettings practised{.regionEnd = 5, .speed = 60};
    const SettingsStore& store = player_->settings.store();
    player_->settings.store().save(practised, fileB);
    player_->graph->addFile(fileNamed(QStringLiteral("c")), 3);
    std::promise<void> gate;
    player_->graph->whenOpened(fileB, [&] {
        gate.get_future().wait();
        return std::make_shared<test::SilentFile>("/music/b.wav", 8000, 80000);
    });
    loader_->loadFile(fileA, false);
    QTRY_VERIFY(player_->state->loadingState().isLoaded());
    player_->state->setSpeed(70);
    loader_->loadFile(fileB, true);
    QCOMPARE(store.load(fileA)->speed, 70.0); // at once
    player_->state->setPitch(-5);
    meanwhile();
    if (player_->state->audioFileURL() != fileB) // the third does not wait for the second
        QTRY_VERIFY(player_->state->loadingState().isLoaded());
    QCOMPARE(store.load(fileB), practised);
    gate.set_value();
    QTRY_VERIFY(player_->state->loadingState().isLoaded());
    QTRY_COMPARE(player_->graph->opened().size(),
                 player_->state->audioFileURL() == fileB ? 2U : 3U);
    QCOMPARE(store.load(fileA)->pitch, -5.0);
    QCOMPARE(store.load(fileB), practised);
    QCOMPARE(player_->state->speed(), player_->state->audioFileURL() == fileB ? 60.0 : 100.0);
}

void FileLoaderTest::showsEveryMessageOnceAndInOrder() {
    QStringList expected{opening, generating};
    for (int percent = 0; percent <= 100; ++percent)
        expected << QStringLiteral("Generating waveform... %1%").arg(percent);
    expected << loaded;
    extract_ = [](const QUrl&, const WaveformGenerator::Progress& progress, auto&&...) {
        for (int bucket = 1; bucket <= 2005; ++bucket) {
            const int percent = std::min(bucket / 20, 100);
            progress(bucket / 2000.0, "Generating waveform... " + std::to_string(percent) + "%");
        }
        return std::vector<float>(2005, 1);
    };
    loader_->loadFile(fileA, false);
    QTRY_VERIFY(player_->state->loadingState().isLoaded());
    QCOMPARE(seen_, expected);
}

void FileLoaderTest::reportsWhatFails_data() {
    QTest::addColumn<double>("seconds");
    QTest::addColumn<bool>("hasWaveform");
    QTest::addColumn<QString>("alert");
    QTest::addColumn<bool>("keepsSettings");
    QTest::newRow("missing") << -1.0 << true << QStringLiteral("x.wav is missing.") << true;
    QTest::newRow("too long")
        << 60000.0 << true
        << QStringLiteral("File duration exceeds the maximum supported length (999:59.999).")
        << true;
    QTest::newRow("no waveform") << 10.0 << false << QStringLiteral("“x” tönt nicht.") << false;
}

void FileLoaderTest::reportsWhatFails() {
    QFETCH(double, seconds);
    QFETCH(bool, hasWaveform);
    QFETCH(bool, keepsSettings);
    const QUrl url = fileNamed(QStringLiteral("x"));
    if (seconds >= 0)
        player_->graph->addFile(url, seconds);
    if (!hasWaveform) {
        extract_ = [](auto&&...) -> std::vector<float> {
            throw WaveformError(WaveformError::Case::readFailed, "“x” tönt nicht.");
        };
    }
    player_->state->setSpeed(70);
    player_->state->setIsPlaying(true);
    loader_->loadFile(url, false);
    QVERIFY2(alerts_.isEmpty(), "a caller is never answered with an alert");
    QTRY_COMPARE(alerts_.size(), 1);
    QTEST(alerts_.first(), "alert");
    QVERIFY(player_->state->loadingState().isIdle());
    QVERIFY(!player_->state->audioFileURL());
    QVERIFY(player_->state->waveformSamples().empty());
    QCOMPARE(player_->state->speed() == 70, keepsSettings);
    QCOMPARE(player_->state->isPlaying(), keepsSettings);
}

void FileLoaderTest::acceptsTheLongestFile() {
    player_->graph->whenOpened(fileA, [] {
        return std::make_shared<test::SilentFile>("/music/a.wav", 48000, 2879999952);
    });
    loader_->loadFile(fileA, false);
    QTRY_VERIFY(player_->state->loadingState().isLoaded());
    QCOMPARE(player_->state->audioDuration(), FileLoader::maximumDuration);
}

void FileLoaderTest::theNewestLoadWins() {
    std::atomic<bool> hasStarted = false;
    std::promise<void> gate;
    extract_ = [&](const QUrl& url, const WaveformGenerator::Progress& progress, auto&&...) {
        if (url == fileB)
            return std::vector<float>{1, 1};
        hasStarted = true;
        gate.get_future().wait();
        progress(0.5, "late");
        return std::vector<float>{1};
    };
    loader_->loadFile(fileA, false);
    QTRY_VERIFY(hasStarted);
    loader_->loadFile(fileB, false);
    QTRY_VERIFY(player_->state->loadingState().isLoaded());
    seen_.clear();
    gate.set_value();
    QTRY_COMPARE(extracted_.load(), 2); // nothing is thrown away half made
    bool isDelivered = false;
    player_->queue.async([&] { player_->queue.async([&] { isDelivered = true; }); });
    QTRY_VERIFY(isDelivered);
    QCOMPARE(seen_, QStringList());
    QCOMPARE(player_->state->audioFileURL(), fileB);
    QCOMPARE(player_->state->audioDuration(), 20.0);
    QCOMPARE(player_->state->waveformSamples().size(), std::size_t{2});
    QVERIFY(alerts_.isEmpty());
}

void FileLoaderTest::aCachedWaveformIsNotMadeAgain() {
    const QUrl file = existingFile(QStringLiteral("a"));
    extract_ = [](auto&&...) { return std::vector<float>{0.5F, 1}; };
    for (const QUrl& next : {file, fileB, file}) {
        seen_.clear();
        loader_->loadFile(next, false);
        QTRY_VERIFY(player_->state->loadingState().isLoaded());
    }
    QCOMPARE(seen_, (QStringList{opening, cached, loaded}));
    QCOMPARE(extracted_.load(), 2);
    QCOMPARE(player_->state->waveformSamples(), (std::vector<float>{0.5F, 1}));
    QCOMPARE(player_->state->recentFiles(), (QList<QUrl>{file, fileB}));
    QCOMPARE(player_->settings.recentFiles().all(), (QList<QUrl>{file, fileB}));
    loader_->loadFile(fileNamed(QStringLiteral("missing")), true);
    QTRY_COMPARE(alerts_.size(), 1);
    QCOMPARE(player_->settings.recentFiles().all().size(), 2);
}

void FileLoaderTest::whatWasMadeForNobodyIsKept() {
    const QUrl superseded = existingFile(QStringLiteral("a"));
    const QUrl broken = existingFile(QStringLiteral("b"));
    std::atomic<int> started = 0;
    std::promise<void> gate;
    extract_ = [&](const QUrl& url, auto&&, const std::atomic<bool>& ending) {
        ++started;
        if (url == superseded)
            gate.get_future().wait();
        while (url == broken && !ending)
            std::this_thread::yield();
        return std::vector<float>{1};
    };
    loader_->loadFile(superseded, false);
    QTRY_COMPARE(started.load(), 1);
    loader_->loadFile(broken, false);
    QTRY_COMPARE(started.load(), 2);
    gate.set_value();
    QTRY_VERIFY(player_->settings.waveformCache().get(superseded));
    loader_.reset();
    QVERIFY2(!player_->settings.waveformCache().get(broken), "half a waveform");
    QVERIFY(player_->settings.recentFiles().all().isEmpty());
}

void FileLoaderTest::theLastOfManyLoadsWins() {
    constexpr int loads = 200;
    for (int i = 1; i < loads; ++i) // the first is missing, which nobody wants to know any more
        player_->graph->addFile(fileNamed(QString::number(i)), i + 1);
    extract_ = [](const QUrl& url, const WaveformGenerator::Progress& progress, auto&&...) {
        progress(1, url.fileName().toStdString());
        return std::vector<float>(url.fileName().section(QChar(u'.'), 0, 0).toUInt() + 1, 1);
    };
    for (int i = 0; i < loads; ++i)
        loader_->loadFile(fileNamed(QString::number(i)), false);
    QTRY_COMPARE(extracted_.load(), loads - 1);
    QTRY_VERIFY(player_->state->loadingState().isLoaded());
    QCOMPARE(seen_.mid(loads), (QStringList{generating, QStringLiteral("199.wav"), loaded}));
    QCOMPARE(player_->state->audioDuration(), 200.0);
    QCOMPARE(player_->state->waveformSamples().size(), std::size_t{200});
    player_->engine->play(0, 1);
    QCOMPARE(player_->graph->file->path(), std::filesystem::path("/music/199.wav"));
    QVERIFY(alerts_.isEmpty());
}

void FileLoaderTest::endsAtAnyMoment_data() {
    QTest::addColumn<bool>("isGenerating");
    QTest::addColumn<bool>("engineGoesOn");
    QTest::newRow("opening") << false << false;
    QTest::newRow("opening, the engine goes on") << false << true;
    QTest::newRow("generating") << true << false;
    QTest::newRow("generating, the engine goes on") << true << true;
}

/// What must not be left behind (a suspended load, its file, the state) the leak checker finds.
void FileLoaderTest::endsAtAnyMoment() {
    QFETCH(bool, isGenerating);
    QFETCH(bool, engineGoesOn);
    constexpr int loads = 50;
    std::atomic<bool> isRunning = false;
    extract_ = [&](const QUrl&, const WaveformGenerator::Progress& progress,
                   const std::atomic<bool>& ending) {
        isRunning = true;
        while (!ending)
            progress(0, "never ends by itself");
        return std::vector<float>{1};
    };
    for (int i = 0; i < loads; ++i)
        loader_->loadFile(fileA, false);
    if (isGenerating)
        QTRY_VERIFY(isRunning);
    seen_.clear();
    QElapsedTimer clock;
    clock.start();
    if (!engineGoesOn)
        player_->engine.reset();
    loader_.reset();
    QVERIFY2(clock.elapsed() < 1000, qPrintable(QString::number(clock.elapsed())));
    if (engineGoesOn)
        QTRY_COMPARE(player_->graph->opened().size(), std::size_t{loads});
    bool isDelivered = false;
    player_->queue.async([&] { isDelivered = true; });
    QTRY_VERIFY(isDelivered);
    QCOMPARE(seen_, QStringList());
    QVERIFY(alerts_.isEmpty());
    QCOMPARE(player_->state.use_count(), 1L);
}

QTEST_GUILESS_MAIN(FileLoaderTest)
#include "FileLoaderTest.moc"
