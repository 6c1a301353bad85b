#include <cmath>

#include <QTest>

#include "app/AppState.h"
#include "app/ZoomNavigation.h"
#include "platform/desktop/MainQueue.h"
#include "support/TemporarySettings.h"

using namespace ambrel;

class ZoomNavigationTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init() {
        state_ = AppState::create(settings_.store(), MainQueue::shared());
        state_->setAudioDuration(100);
    }

    void steps() {
        using Zoom = ZoomNavigation;
        struct Case {
            const char* name;
            void (ZoomNavigation::*step)();
            double start, end, zoom, pan, newZoom, newPan;
        };
        for (const Case& c : {
                 Case{"in keeps the region's start", &Zoom::zoomIn, 20, 30, 1, 0, 2, 350},
                 Case{"in stops at 50", &Zoom::zoomIn, 20, 30, 32, 0, 50, 9950},
                 Case{"in at the far end", &Zoom::zoomIn, 99, 100, 1, 0, 2, 1000},
                 Case{"out", &Zoom::zoomOut, 20, 30, 25, 0, 12.5, 2450},
                 Case{"out at 1", &Zoom::zoomOut, 20, 30, 1, 0, 1, 0},
                 Case{"fit the track", &Zoom::fitTrack, 20, 30, 7, 300, 1, 0},
                 Case{"fit a region", &Zoom::fitRegion, 20, 30, 1, 0, 9, 1750},
                 Case{"fit a tiny region", &Zoom::fitRegion, 20, 20.01, 1, 0, 50, 9950},
                 Case{"fit nothing", &Zoom::fitRegion, 20, 20, 3, 300, 3, 300},
                 Case{"fit what is no region", &Zoom::fitRegion, NAN, 20, 3, 300, 3, 300},
                 Case{"left", &Zoom::panLeft, 20, 30, 4, 800, 4, 300},
                 Case{"left to the start", &Zoom::panLeft, 20, 30, 4, 100, 4, 0},
                 Case{"right", &Zoom::panRight, 20, 30, 4, 800, 4, 1300},
                 Case{"right to the end", &Zoom::panRight, 20, 30, 2, 800, 2, 1000},
             }) {
            state_->setRegionStart(c.start);
            state_->setRegionEnd(c.end);
            state_->setZoomLevel(c.zoom);
            state_->setPanOffset(c.pan);
            ZoomNavigation navigation(state_);
            navigation.setWaveformViewWidth(1000);
            (navigation.*c.step)();
            QVERIFY2(state_->zoomLevel() == c.newZoom, c.name);
            QVERIFY2(std::abs(state_->panOffset() - c.newPan) < 1e-9, c.name);
        }
    }

    void aNarrowerViewStaysWithinTheFile() {
        state_->setZoomLevel(3);
        state_->setPanOffset(1200);
        ZoomNavigation navigation(state_);
        QCOMPARE(navigation.waveformViewWidth(), 600.0);
        navigation.setWaveformViewWidth(700);
        QCOMPARE(state_->panOffset(), 1200.0);
        navigation.setWaveformViewWidth(500);
        QCOMPARE(state_->panOffset(), 1000.0);

        state_->setAudioDuration(0); // with no file it zooms at the start
        state_->setZoomLevel(1);
        navigation.zoomIn();
        QCOMPARE(state_->zoomLevel(), 2.0);
        QCOMPARE(state_->panOffset(), 0.0);
    }

  private:
    test::TemporarySettings settings_;
    std::shared_ptr<AppState> state_;
};

QTEST_GUILESS_MAIN(ZoomNavigationTest)
#include "ZoomNavigationTest.moc"
