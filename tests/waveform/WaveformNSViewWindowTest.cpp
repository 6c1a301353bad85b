#include <cmath>
#include <limits>

#include <QApplication>
#include <QNativeGestureEvent>
#include <QPointingDevice>
#include <QTest>
#include <QWheelEvent>

#include "waveform/view/WaveformNSView.h"

using namespace ambrel;

namespace {

struct Region {
    double start, end;
};

/// A view of 500 x 100 points over 100 s, whose proposals for a region are taken at once.
class TestView : public WaveformNSView {
  public:
    TestView() {
        resize(500, 100);
        setSamples(std::vector<float>(2000, 0.5F));
        setDuration(100);
        setRegion({20, 60});
        onRegionChange = [this](double start, double end) {
            region = {start, end};
            setRegion(region);
        };
        onDragEnded = [this] { ++dragsEnded; };
        onZoomChange = [this](double zoom, double pan) { zoomed = {zoom, pan}; };
    }

    void setRegion(Region shown) {
        setRegionStart(shown.start);
        setRegionEnd(shown.end);
    }
    void press(int x) { QTest::mousePress(this, Qt::LeftButton, {}, QPoint(x, 50)); }
    void move(int x) { QTest::mouseMove(this, QPoint(x, -300)); }
    void release(int x) { QTest::mouseRelease(this, Qt::LeftButton, {}, QPoint(x, 900)); }

    void wheel(QPoint pixels, QPoint angle, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        const QPointF position(400, 50);
        QWheelEvent event(position, mapToGlobal(position), pixels, angle, Qt::NoButton, modifiers,
                          Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(this, &event);
    }
    void pinch(double magnification) {
        const QPointF at(10, 50); // where the fingers are makes no difference
        QNativeGestureEvent event(Qt::ZoomNativeGesture, QPointingDevice::primaryPointingDevice(),
                                  2, at, at, mapToGlobal(at), magnification, {});
        QCoreApplication::sendEvent(this, &event);
    }

    QImage picture(double scale = 1) {
        QImage image(size() * scale, QImage::Format_ARGB32_Premultiplied);
        image.setDevicePixelRatio(scale);
        image.fill(Qt::transparent);
        render(&image, {}, {}, QWidget::DrawChildren);
        return image;
    }

    Region region = {};      ///< proposed last
    ZoomAndPan zoomed = {0}; ///< proposed last; a zoom of 0 for none
    int dragsEnded = 0;
    QRegion painted;

  protected:
    void paintEvent(QPaintEvent* event) override {
        painted += event->region();
        WaveformNSView::paintEvent(event);
    }
};

} // namespace

class WaveformNSViewWindowTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void showsRegionMarkersAndPlayhead() {
        TestView view;
        view.setPlaybackPosition(80);
        const auto at = [&](int x, int y) { return view.picture().pixelColor(x, y); };
        QCOMPARE(at(200, 50), view.palette().color(QPalette::Active, QPalette::Highlight));
        QVERIFY(std::abs(at(450, 50).red() - 128) < 3 && at(450, 50).alpha() < 255);
        QVERIFY(at(100, 5).green() > at(100, 5).red()); // start, 20 s
        QVERIFY(at(299, 5).red() > at(299, 5).green()); // end, 60 s
        QCOMPARE(at(400, 5).alpha(), 0);                // at rest: no play head
        view.setIsPlaying(true);
        QVERIFY(at(399, 5) == QColor(Qt::white) && at(400, 5) == QColor(Qt::white));
        QVERIFY(at(398, 5).alpha() > 50 && at(398, 5).red() < 50); // its dark edge
    }

    void stepsOfThePlayheadRepaintTheirStripsAloneAtAnyScale() {
        TestView view;
        view.setIsPlaying(true);
        view.show();
        QTRY_VERIFY(!view.painted.isEmpty());
        for (const double scale : {1.0, 1.25, 1.5, 1.75}) {
            const auto paint = [&view](QImage& image, const QRegion& area) {
                view.render(&image, area.boundingRect().topLeft(), area,
                            QWidget::DrawWindowBackground);
            };
            QImage stepped = view.picture(scale);
            paint(stepped, view.rect());
            for (int step = 0; step < 40; ++step) {
                QCoreApplication::processEvents();
                view.painted = {};
                view.setPlaybackPosition(30 + step * 0.13);
                QCoreApplication::processEvents();
                const QRegion strips = view.painted;
                QVERIFY(step == 0 || strips.boundingRect().width() < 16);
                paint(stepped, strips);
                QImage whole = view.picture(scale);
                paint(whole, view.rect());
                QVERIFY2(stepped == whole, qPrintable(u"%1, step %2"_qs.arg(scale).arg(step)));
            }
        }
    }

    void dragsProposeRegions() {
        struct Case {
            Region before;
            int from, to;
            Region proposed;
            Qt::CursorShape cursor;
        };
        const Region usual{20, 60}; // x = 100 to 300
        for (const Case& c : {
                 Case{usual, 108, 150, {30, 60}, Qt::SizeHorCursor},    // start, at its edge
                 Case{usual, 109, 150, {21.8, 30}, Qt::CrossCursor},    // just off it
                 Case{usual, 100, 400, {59.99, 60}, Qt::SizeHorCursor}, // past the end
                 Case{usual, 292, 400, {20, 80}, Qt::SizeHorCursor},
                 Case{usual, 300, 10, {20, 20.01}, Qt::SizeHorCursor},
                 Case{{20, 22}, 107, 200, {20, 40}, Qt::SizeHorCursor}, // the nearer one
                 Case{{20, 22}, 105, 50, {10, 22}, Qt::SizeHorCursor},  // a tie
             }) {
            TestView view;
            view.setRegion(c.before);
            view.press(c.from);
            QCOMPARE(view.cursor().shape(), c.cursor);
            for (const int x : {-700, 1700, c.to})
                view.move(x);
            QCOMPARE(view.region.start, c.proposed.start);
            QCOMPARE(view.region.end, c.proposed.end);
            QTest::mouseClick(&view, Qt::RightButton, {}, QPoint(10, 10));
            QCOMPARE(view.dragsEnded, 0);
            view.release(c.to);
            QCOMPARE(view.dragsEnded, 1);
            QCOMPARE(view.cursor().shape(), Qt::ArrowCursor);
        }
    }

    void aDragEndsWithItsFileOrItsWindow() {
        for (const int interruption : {0, 1, 2}) {
            TestView view;
            view.show();
            view.press(100);
            interruption == 0   ? view.setSamples({0.1F, 0.2F})
            : interruption == 1 ? view.setDuration(7)
                                : void(view.close());
            view.move(150);
            view.release(150);
            QVERIFY(view.region.end == 0 && view.dragsEnded == 0);
        }
    }

    void scrollingAndPinchingProposeZoomAndPan() {
        struct Case {
            ZoomAndPan before;
            QPoint pixels, angle;
            Qt::KeyboardModifiers modifiers;
            double pinch;
            ZoomAndPan proposed;
        };
        for (const Case& c : {
                 Case{{2, 100}, {-30, 4}, {-240, 32}, {}, 0, {2, 160}},
                 Case{{2, 100}, {-900, 0}, {-7200, 0}, {}, 0, {2, 500}}, // the file's end
                 Case{{2, 100}, {}, {0, -120}, Qt::ShiftModifier, 0, {2, 130}},
                 Case{{2, 100}, {0, 50}, {0, 400}, {}, 0, {0, 0}}, // is the window's
                 Case{{1, 0}, {}, {0, 360}, Qt::ControlModifier, 0, {2, 400}},
                 Case{{1, 0}, {}, {}, {}, 0.5, {1.5, 125}},
                 Case{{2, 500}, {}, {}, {}, -0.25, {1.5, 250}},
                 Case{{1.2, 50}, {}, {}, {}, -0.9, {1, 0}},
                 Case{{40, 0}, {}, {}, {}, 1, {50, 62.5}},
             }) {
            TestView view;
            view.setZoomLevel(c.before.zoomLevel);
            view.setPanOffset(c.before.panOffset);
            c.pinch == 0 ? view.wheel(c.pixels, c.angle, c.modifiers) : view.pinch(c.pinch);
            QCOMPARE(view.zoomed.zoomLevel, c.proposed.zoomLevel);
            QCOMPARE(view.zoomed.panOffset, c.proposed.panOffset);
        }
    }

    void bearsAnyNumbers() {
        constexpr double infinity = std::numeric_limits<double>::infinity();
        const auto setters = {&WaveformNSView::setDuration,  &WaveformNSView::setRegionStart,
                              &WaveformNSView::setRegionEnd, &WaveformNSView::setPlaybackPosition,
                              &WaveformNSView::setZoomLevel, &WaveformNSView::setPanOffset};
        const auto values = {-1e308, -1.0, 0.0, 1e-320, 50.0, 1e308, infinity, double(NAN)};
        for (const auto setter : setters)
            for (const auto other : setters)
                for (const double a : values)
                    for (const double b : values) {
                        TestView view;
                        view.resize(60, 20);
                        view.setIsPlaying(true);
                        view.setSamples({1, -1, 1e30F, float(infinity), NAN, 1e-40F});
                        (view.*setter)(a);
                        (view.*other)(b);
                        view.picture(1.25);
                        view.press(30);
                        view.move(50);
                        view.release(10);
                        view.wheel({}, {-120, 0});
                        view.wheel({}, {0, 120}, Qt::ControlModifier);
                        QVERIFY(std::isfinite(view.zoomed.panOffset));
                    }
    }
};

QTEST_MAIN(WaveformNSViewWindowTest)
#include "WaveformNSViewWindowTest.moc"
