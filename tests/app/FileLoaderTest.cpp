#include <future>
#include <thread>

#include <QTest>

#include "app/FileLoader.h"
#include "support/ScriptedPlayer.h"

using namespace ambrel;

namespace {

const QString opening = u"Opening file..."_qs;
const QString generating = u"Generating waveform..."_qs;
const QString loaded = u"loaded"_qs;

} // namespace

class FileLoaderTest : public QObject {
    Q_OBJECT

  private:
    QTemporaryDir folder_;
    const QUrl fileA_ = existingFile(u"a"_qs);
    const QUrl fileB_ = existingFile(u"b"_qs);
    const QUrl fileC_ = existingFile(u"c"_qs);
    std::optional<test::ScriptedPlayer> player_;
    AppState* state_ = nullptr;
    std::unique_ptr<FileLoader> loader_;
    FileLoader::Extract extract_; ///< one peak, unless a test says otherwise
    std::atomic<int> extracted_ = 0;
    QStringList seen_; ///< every loading state, in order
    QStringList alerts_;

    /// There for the cache to examine; what is heard of it is scripted.
    QUrl existingFile(const QString& name) {
        QFile file(folder_.filePath(name));
        if (!file.open(QFile::WriteOnly))
            qFatal("no file to load");
        return QUrl::fromLocalFile(file.fileName());
    }
    void load(const QUrl& file, bool restoreSettings = false) {
        loader_->loadFile(file, restoreSettings);
        QTRY_VERIFY(state_->loadingState().isLoaded());
    }
    /// Until all that was posted to the main thread by now has run.
    void handlePosted() {
        bool isHandled = false;
        player_->queue.async([&] { player_->queue.async([&] { isHandled = true; }); });
        QTRY_VERIFY(isHandled);
    }

  private Q_SLOTS:
    void init() {
        player_.emplace();
        state_ = player_->state.get();
        for (int i = 0; const QUrl& file : {fileA_, fileB_, fileC_})
            player_->graph->addFile(file, 10 * ++i);
        extract_ = [](auto&&...) { return std::vector<float>{1}; };
        extracted_ = 0;
        loader_ = std::make_unique<FileLoader>(
            player_->state, player_->engine, player_->settings.store(),
            player_->settings.waveformCache(), player_->settings.recentFiles(), player_->queue,
            [this](const QString& message) { alerts_ << message; },
            [this](auto&&... arguments) {
                auto peaks = extract_(arguments...);
                ++extracted_;
                return peaks;
            });
        seen_.clear();
        alerts_.clear();
        connect(state_, &AppState::changed, this, [this](AppState::Field field) {
            const auto& now = state_->loadingState();
            if (field == AppState::Field::loadingState)
                seen_ << (now.isLoading() ? now.message : now.isLoaded() ? loaded : QString());
        });
    }
    void cleanup() {
        loader_.reset();
        player_.reset();
    }

    void restoresWhatWasSavedOrSetsTheDefaults() {
        // A region beyond the file's end is taken as it is, and so is a band too many.
        const FileSettings saved{8, 80, 70, 1, -150, true, {1, 2, 3, 4, 5, 6}, true, 1, 2};
        for (const QUrl& file : {fileA_, fileB_})
            player_->settings.store().save(saved, file);
        extract_ = [this](auto&&...) { // the sound is set before there is a waveform to see
            return std::vector{player_->graph->rate, player_->graph->pitch};
        };
        load(fileA_, true);
        QCOMPARE(state_->currentSettings(), saved);
        QCOMPARE(state_->waveformSamples(), (std::vector<float>{0.7F, -150}));
        QVERIFY(!player_->graph->bypass);
        QCOMPARE(player_->graph->gains,
                 (std::map<int, float>{{0, 1}, {1, 2}, {2, 3}, {3, 4}, {4, 5}}));
        player_->settings.store().save({.eqGains = {9}}, fileC_); // and bands too few are at 0
        load(fileC_, true);
        QCOMPARE(player_->graph->gains,
                 (std::map<int, float>{{0, 9}, {1, 0}, {2, 0}, {3, 0}, {4, 0}}));

        state_->setZoomLevel(7);
        state_->setPanOffset(70);
        state_->setPlaybackPosition(3);
        state_->setIsPlaying(true);
        seen_.clear();
        load(fileB_, false);
        QCOMPARE(seen_, (QStringList{opening, generating, loaded}));
        QCOMPARE(state_->currentSettings(), FileSettings{.regionEnd = 20});
        QCOMPARE(state_->waveformSamples(), (std::vector<float>{1, 0}));
        QCOMPARE(state_->zoomLevel(), 1.0);
        QCOMPARE(state_->panOffset() + state_->playbackPosition(), 0.0);
        QVERIFY(!state_->isPlaying());
        QTRY_COMPARE(player_->settings.store().load(fileB_), FileSettings{.regionEnd = 20});
    }

    void whatIsSetWhileAFileOpensIsTheEarlierFiles_data() {
        QTest::addColumn<std::function<void()>>("meanwhile");
        const auto row = [](const char* name, std::function<void()> meanwhile) {
            QTest::newRow(name) << std::move(meanwhile);
        };
        row("nothing", [] {});
        row("the end", [this] { state_->saveSettings(); });
        row("a third file", [this] { load(fileC_); }); // which does not wait for the second
        row("a rest", [this] {
            QTRY_COMPARE(player_->settings.store().load(fileA_)->pitch, -5.0); // by itself
        });
    }
    /// A disk may take its time: nothing that was stored for the file that opens is touched.
    void whatIsSetWhileAFileOpensIsTheEarlierFiles() {
        QFETCH(std::function<void()>, meanwhile);
        const FileSettings practised{.regionEnd = 5, .speed = 60};
        SettingsStore& store = player_->settings.store();
        store.save(practised, fileB_);
        std::promise<void> gate;
        player_->graph->whenOpened(fileB_, [&] {
            gate.get_future().wait();
            return test::SyntheticFile::numbered(8000, 80000);
        });
        load(fileA_);
        state_->setSpeed(70);
        loader_->loadFile(fileB_, true);
        QVERIFY2(state_->waveformSamples().empty(), "the old waveform goes at once");
        QCOMPARE(store.load(fileA_)->speed, 70.0); // at once
        state_->setPitch(-5);
        meanwhile();
        QCOMPARE(store.load(fileB_), practised);
        gate.set_value();
        QTRY_VERIFY(state_->loadingState().isLoaded());
        QTRY_COMPARE(extracted_.load(), state_->audioFileURL() == fileB_ ? 2 : 3);
        QCOMPARE(store.load(fileA_)->pitch, -5.0);
        QCOMPARE(store.load(fileB_), practised);
        QCOMPARE(state_->speed(), state_->audioFileURL() == fileB_ ? 60.0 : 100.0);
    }

    void reportsWhatFails_data() {
        QTest::addColumn<std::int64_t>("frames"); // at 48 kHz; none: missing
        QTest::addColumn<QString>("alert");
        QTest::addColumn<bool>("keepsSettings");
        constexpr std::int64_t none = 0, one = 1, most = 2'879'999'952;
        const QString tooLong =
            u"File duration exceeds the maximum supported length (999:59.999)."_qs;
        QTest::newRow("missing") << none << u"x.wav is missing."_qs << true;
        QTest::newRow("longest") << most << QString() << false;
        QTest::newRow("too long") << most + 1 << tooLong << true;
        QTest::newRow("no waveform") << one << u"“x” tönt nicht."_qs << false;
    }
    void reportsWhatFails() {
        QFETCH(std::int64_t, frames);
        QFETCH(QString, alert);
        QFETCH(bool, keepsSettings);
        const QUrl url = QUrl::fromLocalFile(u"/music/x.wav"_qs);
        if (frames > 0)
            player_->graph->whenOpened(
                url, [&] { return test::SyntheticFile::numbered(48'000, frames); });
        if (frames == 1)
            extract_ = [&](auto&&...) -> std::vector<float> {
                throw WaveformError(WaveformError::Case::readFailed, alert.toStdString());
            };
        state_->setSpeed(70);
        state_->setIsPlaying(true);
        loader_->loadFile(url, false);
        QVERIFY2(alerts_.isEmpty(), "a caller is never answered with an alert");
        QTRY_VERIFY(!state_->loadingState().isLoading());
        QCOMPARE(alerts_.join(QString()), alert);
        QCOMPARE(state_->loadingState().isIdle(), !alert.isEmpty());
        QCOMPARE(state_->audioFileURL().has_value(), alert.isEmpty());
        QCOMPARE(state_->speed() == 70, keepsSettings);
        QCOMPARE(state_->isPlaying(), keepsSettings);
        QCOMPARE(player_->settings.recentFiles().all().isEmpty(), !alert.isEmpty());
    }

    void aSupersededLoadShowsNothingButItsWaveformIsCached() {
        std::atomic<bool> hasStarted = false;
        std::promise<void> gate;
        extract_ = [&](const QUrl& url, const WaveformGenerator::Progress& progress,
                       const std::atomic<bool>& ending) {
            hasStarted = true;
            if (url == fileA_)
                gate.get_future().wait();
            while (url == fileC_ && !ending)
                std::this_thread::yield();
            progress(0.5, "late");
            return std::vector<float>(url == fileA_ ? 1 : 2);
        };
        loader_->loadFile(fileA_, false);
        QTRY_VERIFY(hasStarted);
        load(fileB_);
        seen_.clear();
        gate.set_value();
        QTRY_VERIFY(player_->settings.waveformCache().get(fileA_));
        handlePosted();
        QCOMPARE(seen_, QStringList());
        QCOMPARE(state_->audioFileURL(), fileB_);
        QCOMPARE(state_->audioDuration(), 20.0);
        QCOMPARE(state_->waveformSamples().size(), std::size_t{2});

        load(fileA_);
        QCOMPARE(seen_, (QStringList{opening, u"Loading cached waveform..."_qs, loaded}));
        QCOMPARE(extracted_.load(), 2);
        QCOMPARE(state_->waveformSamples().size(), std::size_t{1});
        QCOMPARE(state_->recentFiles(), (QList<QUrl>{fileA_, fileB_}));

        hasStarted = false;
        loader_->loadFile(fileC_, false);
        QTRY_VERIFY(hasStarted);
        loader_.reset();
        QVERIFY2(!player_->settings.waveformCache().get(fileC_), "half a waveform");
    }

    void endsAtAnyMoment_data() {
        QTest::addColumn<bool>("isGenerating");
        QTest::addColumn<bool>("engineGoesOn");
        QTest::newRow("opening") << false << false;
        QTest::newRow("opening, the engine goes on") << false << true;
        QTest::newRow("generating") << true << false;
        QTest::newRow("generating, the engine goes on") << true << true;
    }
    /// What must not be left behind (a suspended load, its file, the state) the leak checker finds.
    void endsAtAnyMoment() {
        QFETCH(bool, isGenerating);
        QFETCH(bool, engineGoesOn);
        constexpr int loads = 50;
        std::atomic<bool> isRunning = false;
        extract_ = [&](auto&&, const WaveformGenerator::Progress& progress,
                       const std::atomic<bool>& ending) {
            isRunning = true;
            while (!ending)
                progress(0, "never ends by itself");
            return std::vector<float>{1};
        };
        for (int i = 0; i < loads; ++i)
            loader_->loadFile(fileA_, false);
        if (isGenerating)
            QTRY_VERIFY(isRunning);
        seen_.clear();
        if (!engineGoesOn)
            player_->engine.reset();
        loader_.reset();
        if (engineGoesOn)
            QTRY_COMPARE(player_->graph->opened.load(), loads);
        handlePosted();
        QCOMPARE(seen_, QStringList());
        QVERIFY(alerts_.isEmpty());
        QCOMPARE(player_->state.use_count(), 1L);
    }
};

QTEST_GUILESS_MAIN(FileLoaderTest)
#include "FileLoaderTest.moc"
