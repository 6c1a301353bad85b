#include <algorithm>

#include <QApplication>
#include <QCoroTask>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QVBoxLayout>

#include "app/AppState.h"
#include "audio/AudioEngine.h"
#include "platform/desktop/MainQueue.h"
#include "support/ScriptedGraph.h"
#include "support/TemporarySettings.h"
#include "ui/window/WaveformSection.h"
#include "waveform/view/WaveformNSView.h"

using namespace ambrel;

/// The waveform and its zoom bar, on a state and an engine as in the application.
class WaveformSectionWindowTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init() {
        state_ = AppState::create(settings_.store(), MainQueue::shared());
        auto graph = std::make_unique<test::ScriptedGraph>();
        graph_ = graph.get();
        graph_->addFile(file_, 100);
        engine_ = AudioEngine::create(std::move(graph), MainQueue::shared(),
                                      [this](const QUrl& url) { return graph_->open(url); });
        QCoro::waitFor(engine_->load(file_));
        state_->setAudioFileURL(file_);
        state_->beginSettings(file_);
        state_->setAudioDuration(100);
        state_->resetToDefaults(100);
        state_->setWaveformSamples(std::vector<float>(2000, 1.0F));
        window_ = std::make_unique<QWidget>();
        auto* const layout = new QVBoxLayout(window_.get());
        layout->setContentsMargins({});
        layout->addWidget(new WaveformSection(state_, engine_));
        layout->addWidget(field_ = new QLineEdit);
        window_->resize(680, 240);
        window_->show();
        window_->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(window_.get()));
        view_ = window_->findChild<WaveformNSView*>();
    }

    void cleanup() { window_.reset(); }

    void buttonsZoomAndPanByTheMeasuredWidth() {
        QCOMPARE(view_->size(), QSize(648, 100));
        state_->setRegionStart(50);
        click("Zoom in");
        QCOMPARE(state_->panOffset(), 0.95 * 648);
        click("Pan left");
        QCOMPARE(state_->panOffset(), 0.45 * 648);
        window_->resize(800, 240);
        QTRY_COMPARE(view_->width(), 768);
        click("Pan right");
        click("Pan right");
        QCOMPARE(state_->panOffset(), 768.0);
        button("Zoom out")->setFocus(Qt::TabFocusReason);
        click("Zoom out");
        QCOMPARE(state_->zoomLevel(), 1.0);
        QVERIFY(!QApplication::focusWidget()); // not the next button, which Space would press
        state_->setZoomLevel(6.25);
        const auto labels = window_->findChildren<QLabel*>();
        QVERIFY(std::ranges::any_of(
            labels, [](auto* label) { return label->text() == QLatin1String("6.2x"); }));
    }

    void aDragIsSavedWhenItRestsAndHeardWhenItEnds() {
        field_->setFocus();
        drag(162, 324); // of 648 points
        QVERIFY(!field_->hasFocus());
        QCOMPARE(state_->regionStart(), 25.0);
        QCOMPARE(state_->regionEnd(), 50.0);
        QVERIFY(!settings_.store().load(file_));
        QTRY_VERIFY(settings_.store().load(file_));
        QCOMPARE(settings_.store().load(file_)->regionEnd, 50.0);
        QVERIFY(!graph_->takeCalls().contains(QStringLiteral("play")));
        state_->setIsPlaying(true);
        drag(486, 648);
        QCOMPARE(graph_->takeCalls().count(QStringLiteral("play")), 1);
        QVERIFY(state_->isPlaying());
    }

    void itsCornersAreRound() {
        const QImage picture = window_->grab().toImage();
        const QPoint corner = view_->mapTo(window_.get(), QPoint(0, 0));
        const QColor around = window_->palette().color(QPalette::Window);
        QCOMPARE(picture.pixelColor(corner), around);
        QVERIFY(picture.pixelColor(corner + QPoint(8, 8)) != around);
    }

  private:
    QPushButton* button(const char* name) {
        for (QPushButton* const button : window_->findChildren<QPushButton*>())
            if (button->accessibleName() == QString::fromLatin1(name))
                return button;
        return nullptr;
    }
    void click(const char* name) { QTest::mouseClick(button(name), Qt::LeftButton); }
    void drag(int from, int to) {
        QTest::mousePress(view_, Qt::LeftButton, {}, QPoint(from, 50));
        QTest::mouseMove(view_, QPoint((from + to) / 2, 50));
        QTest::mouseMove(view_, QPoint(to, 50));
        QTest::mouseRelease(view_, Qt::LeftButton, {}, QPoint(to, 50));
    }

    const QUrl file_ = QUrl(QStringLiteral("file:///take.wav"));
    test::TemporarySettings settings_;
    std::shared_ptr<AppState> state_;
    std::shared_ptr<AudioEngine> engine_;
    test::ScriptedGraph* graph_ = nullptr;
    std::unique_ptr<QWidget> window_;
    QLineEdit* field_ = nullptr;
    WaveformNSView* view_ = nullptr;
};

QTEST_MAIN(WaveformSectionWindowTest)
#include "WaveformSectionWindowTest.moc"
