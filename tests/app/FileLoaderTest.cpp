#include <atomic>
#include <future>

#include <QtTest>

#include "app/AppState.h"
#include "app/FileLoader.h"
#include "audio/AudioEngine.h"
#include "platform/desktop/MainQueue.h"
#include "store/SettingsStore.h"
#include "support/ScriptedGraph.h"
#include "support/TemporarySettings.h"

using namespace ambrel;

namespace {

const QString opening = QStringLiteral("Opening file...");
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
    void savesTheReplacedFileAtOnce();
    void showsEveryMessageOnceAndInOrder();
    void reportsWhatFails_data();
    void reportsWhatFails();
    void acceptsTheLongestFile();
    void theNewestLoadWins();
    void anOlderFailureIsSilent();
    void theLastOfManyLoadsWins();
    void endsAtAnyMoment_data();
    void endsAtAnyMoment();

  private:
    std::vector<float> extract(const QUrl& url, const WaveformGenerator::Progress& progress,
                               const std::atomic<bool>& ending);
    void noteLoadingState();

    std::unique_ptr<test::TemporarySettings> settings_;
    std::unique_ptr<MainQueue> queue_;
    std::shared_ptr<AppState> state_;
    std::shared_ptr<AudioEngine> engine_;
    std::unique_ptr<FileLoader> loader_;
    test::ScriptedGraph* graph_ = nullptr;
    FileLoader::Extract extract_; ///< absent: one peak, no progress
    std::atomic<int> extracted_ = 0;
    QStringList seen_; ///< every loading state, in order
    QStringList alerts_;
};

void FileLoaderTest::init() {
    settings_ = std::make_unique<test::TemporarySettings>();
    queue_ = std::make_unique<MainQueue>();
    state_ = AppState::create(settings_->store(), *queue_);
    auto graph = std::make_unique<test::ScriptedGraph>();
    graph_ = graph.get();
    graph_->addFile(fileA, 10);
    graph_->addFile(fileB, 20);
    engine_ = AudioEngine::create(std::move(graph), *queue_);
    engine_->setAppState(state_);
    extract_ = nullptr;
    extracted_ = 0;
    loader_ = std::make_unique<FileLoader>(
        state_, engine_, settings_->store(), *queue_,
        [this](const QString& message) { alerts_ << message; },
        std::bind_front(&FileLoaderTest::extract, this));
    seen_.clear();
    alerts_.clear();
    connect(state_.get(), &AppState::changed, this, [this](AppState::Field field) {
        if (field == AppState::Field::loadingState)
            noteLoadingState();
    });
}

void FileLoaderTest::cleanup() {
    loader_.reset();
    engine_.reset();
    state_.reset();
    queue_.reset();
    settings_.reset();
}

std::vector<float> FileLoaderTest::extract(const QUrl& url,
                                           const WaveformGenerator::Progress& progress,
                                           const std::atomic<bool>& ending) {
    auto peaks = extract_ ? extract_(url, progress, ending) : std::vector<float>{1};
    ++extracted_;
    return peaks;
}

void FileLoaderTest::noteLoadingState() {
    const auto& now = state_->loadingState();
    seen_ << (now.isLoading() ? now.message : now.isLoaded() ? loaded : idle);
}

void FileLoaderTest::opensAFileWithTheDefaults() {
    settings_->store().save({.regionEnd = 5, .speed = 70}, fileA);
    state_->setSpeed(50);
    state_->setWaveformSamples({1, 1});
    extract_ = [](auto&&...) { return std::vector<float>{0.5F, 1}; };
    loader_->loadFile(fileA, false);
    QCOMPARE(seen_, QStringList(opening));
    QCOMPARE(state_->audioFileURL(), fileA);
    QVERIFY2(state_->waveformSamples().empty(), "the old waveform goes at once");
    QCOMPARE(state_->speed(), 50.0);

    QTRY_VERIFY(state_->loadingState().isLoaded());
    QCOMPARE(seen_, (QStringList{opening, generating, loaded}));
    QCOMPARE(state_->audioDuration(), 10.0);
    FileSettings defaults;
    defaults.regionEnd = 10;
    QCOMPARE(state_->currentSettings(), defaults);
    QCOMPARE(state_->waveformSamples(), (std::vector<float>{0.5F, 1}));
    QCOMPARE(graph_->rate, 1.0F);
    QCOMPARE(graph_->opened().size(), std::size_t{1});
    QTRY_COMPARE(settings_->store().load(fileA), std::optional(defaults));
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
    settings_->store().save(saved, fileA);
    extract_ = [this](auto&&...) {
        // The sound is set before there is a waveform to see.
        return std::vector<float>{graph_->rate, graph_->pitch};
    };
    loader_->loadFile(fileA, true);
    QTRY_VERIFY(state_->loadingState().isLoaded());
    QCOMPARE(state_->currentSettings(), saved);
    QCOMPARE(state_->waveformSamples(), (std::vector<float>{0.7F, -150}));
    QVERIFY(!graph_->bypass);
    QCOMPARE(graph_->gains, (std::map<int, float>{{0, 1}, {1, 2}, {2, 3}, {3, 4}, {4, 5}}));
}

void FileLoaderTest::savesTheReplacedFileAtOnce() {
    loader_->loadFile(fileA, false);
    QTRY_VERIFY(state_->loadingState().isLoaded());
    state_->setSpeed(70);
    loader_->loadFile(fileB, false);
    QCOMPARE(settings_->store().load(fileA)->speed, 70.0);
    QTRY_VERIFY(state_->loadingState().isLoaded());
    QTRY_VERIFY(settings_->store().load(fileB));
    QCOMPARE(settings_->store().load(fileA)->speed, 70.0);
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
    QTRY_VERIFY(state_->loadingState().isLoaded());
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
        graph_->addFile(url, seconds);
    if (!hasWaveform) {
        extract_ = [](auto&&...) -> std::vector<float> {
            throw WaveformError(WaveformError::Case::readFailed, "“x” tönt nicht.");
        };
    }
    state_->setSpeed(70);
    state_->setIsPlaying(true);
    loader_->loadFile(url, false);
    QVERIFY2(alerts_.isEmpty(), "a caller is never answered with an alert");
    QTRY_COMPARE(alerts_.size(), 1);
    QTEST(alerts_.first(), "alert");
    QVERIFY(state_->loadingState().isIdle());
    QVERIFY(!state_->audioFileURL());
    QVERIFY(state_->waveformSamples().empty());
    QCOMPARE(state_->speed() == 70, keepsSettings);
    QCOMPARE(state_->isPlaying(), keepsSettings);
}

void FileLoaderTest::acceptsTheLongestFile() {
    graph_->whenOpened(fileA, [] {
        return std::make_shared<test::SilentFile>("/music/a.wav", 48000, 2879999952);
    });
    loader_->loadFile(fileA, false);
    QTRY_VERIFY(state_->loadingState().isLoaded());
    QCOMPARE(state_->audioDuration(), FileLoader::maximumDuration);
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
    QTRY_VERIFY(state_->loadingState().isLoaded());
    seen_.clear();
    gate.set_value();
    QTRY_COMPARE(extracted_.load(), 2); // nothing is thrown away half made
    bool isDelivered = false;
    queue_->async([&] { queue_->async([&] { isDelivered = true; }); });
    QTRY_VERIFY(isDelivered);
    QCOMPARE(seen_, QStringList());
    QCOMPARE(state_->audioFileURL(), fileB);
    QCOMPARE(state_->audioDuration(), 20.0);
    QCOMPARE(state_->waveformSamples().size(), std::size_t{2});
    QVERIFY(alerts_.isEmpty());
}

void FileLoaderTest::anOlderFailureIsSilent() {
    loader_->loadFile(fileNamed(QStringLiteral("gone")), false);
    loader_->loadFile(fileB, false);
    QTRY_VERIFY(state_->loadingState().isLoaded());
    QCOMPARE(seen_, (QStringList{opening, opening, generating, loaded}));
    QVERIFY(alerts_.isEmpty());
}

void FileLoaderTest::theLastOfManyLoadsWins() {
    constexpr int loads = 200;
    for (int i = 0; i < loads; ++i)
        graph_->addFile(fileNamed(QString::number(i)), i + 1);
    extract_ = [](const QUrl& url, const WaveformGenerator::Progress& progress, auto&&...) {
        progress(1, url.fileName().toStdString());
        return std::vector<float>(url.fileName().section(QChar(u'.'), 0, 0).toUInt() + 1, 1);
    };
    for (int i = 0; i < loads; ++i)
        loader_->loadFile(fileNamed(QString::number(i)), false);
    QTRY_COMPARE(extracted_.load(), loads);
    QTRY_VERIFY(state_->loadingState().isLoaded());
    QCOMPARE(seen_.mid(loads), (QStringList{generating, QStringLiteral("199.wav"), loaded}));
    QCOMPARE(state_->audioDuration(), 200.0);
    QCOMPARE(state_->waveformSamples().size(), std::size_t{200});
    engine_->play(0, 1);
    QCOMPARE(graph_->file->path(), std::filesystem::path("/music/199.wav"));
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
        engine_.reset();
    loader_.reset();
    QVERIFY2(clock.elapsed() < 1000, qPrintable(QString::number(clock.elapsed())));
    if (engineGoesOn)
        QTRY_COMPARE(graph_->opened().size(), std::size_t{loads});
    bool isDelivered = false;
    queue_->async([&] { isDelivered = true; });
    QTRY_VERIFY(isDelivered);
    QCOMPARE(seen_, QStringList());
    QVERIFY(alerts_.isEmpty());
    QCOMPARE(state_.use_count(), 1L);
}

QTEST_GUILESS_MAIN(FileLoaderTest)
#include "FileLoaderTest.moc"
