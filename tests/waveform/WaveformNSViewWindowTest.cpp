#include <cmath>
#include <limits>
#include <random>

#include <QtTest>
#include <QtWidgets>

#include "waveform/WaveformNSView.h"

using namespace ambrel;

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

struct Region {
    double start;
    double end;
};

/// A view of 500 x 100 points over 100 s of peaks, whose region comes back at once as the state
/// hands it back.
class TestView : public WaveformNSView {
  public:
    TestView() {
        resize(500, 100);
        setSamples(std::vector<float>(2000, 0.5F));
        setDuration(100);
        setRegion(20, 60);
        onRegionChange = [this](double start, double end) {
            regions.push_back({start, end});
            setRegion(start, end);
        };
        onDragEnded = [this] { ++dragsEnded; };
        onResignFocus = [this] { ++resigns; };
        onZoomChange = [this](double zoom, double pan) { zooms.push_back({zoom, pan}); };
    }

    void setRegion(double start, double end) {
        setRegionStart(start);
        setRegionEnd(end);
    }

    void drag(int from, std::initializer_list<int> to) {
        QTest::mousePress(this, Qt::LeftButton, {}, QPoint(from, 50));
        for (const int x : to)
            QTest::mouseMove(this, QPoint(x, 50));
        QTest::mouseRelease(this, Qt::LeftButton, {}, QPoint(std::data(to)[to.size() - 1], 50));
    }

    void wheel(QPointF position, QPoint pixels, QPoint angle,
               Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QWheelEvent event(position, mapToGlobal(position), pixels, angle, Qt::NoButton, modifiers,
                          Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(this, &event);
    }

    void pinch(double magnification) {
        const QPointF position(10, 50); // where the fingers are makes no difference
        QNativeGestureEvent event(Qt::ZoomNativeGesture, QPointingDevice::primaryPointingDevice(),
                                  2, position, position, mapToGlobal(position), magnification, {});
        QCoreApplication::sendEvent(this, &event);
    }

    QImage picture(double scale = 1) {
        QImage image(size() * scale, QImage::Format_ARGB32_Premultiplied);
        image.setDevicePixelRatio(scale);
        image.fill(Qt::transparent);
        render(&image, {}, {}, QWidget::DrawChildren);
        return image;
    }

    std::vector<Region> regions;
    std::vector<ZoomAndPan> zooms;
    int dragsEnded = 0;
    int resigns = 0;
    QRegion painted;

  protected:
    void paintEvent(QPaintEvent* event) override {
        painted += event->region();
        WaveformNSView::paintEvent(event);
    }
};

bool near(double a, double b) {
    return std::abs(a - b) < 1e-9;
}

/// The rule of the bars, by the painter's own means: one after the other.
QImage filledOneByOne(const std::vector<float>& peaks, QSize size, double scale, double zoom,
                      double pan, Region region, double duration, const QColor& accent) {
    QImage image(size * scale, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    const double pitch = size.width() * zoom / double(peaks.size());
    for (std::size_t i = 0; i < peaks.size(); ++i) {
        const double time = double(i) / double(peaks.size()) * duration;
        const double height = size.height() * double(peaks[i]);
        const bool inside = region.start <= time && time <= region.end;
        painter.fillRect(QRectF(pitch * double(i) - pan, (size.height() - height) / 2,
                                std::max(pitch - 0.5, 1.0), height),
                         inside ? accent : QColor(128, 128, 128, 102));
    }
    return image;
}

/// Mean and largest difference of the channels.
std::pair<double, int> difference(const QImage& a, const QImage& b) {
    int largest = 0;
    double sum = 0;
    const qsizetype count = a.sizeInBytes();
    for (qsizetype i = 0; i < count; ++i) {
        const int d = std::abs(int(a.constBits()[i]) - int(b.constBits()[i]));
        largest = std::max(largest, d);
        sum += d;
    }
    return {sum / double(count), largest};
}

} // namespace

class WaveformNSViewWindowTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void drawsNothingWithoutPeaksOrDuration() {
        TestView view;
        view.setIsPlaying(true);
        QImage empty = view.picture();
        empty.fill(Qt::transparent);
        QVERIFY(view.picture() != empty);
        view.setDuration(0);
        QCOMPARE(view.picture(), empty);
        view.setDuration(100);
        view.setSamples({});
        QCOMPARE(view.picture(), empty);
    }

    void barsLookAsIfFilledOneByOne_data() {
        QTest::addColumn<int>("count");
        QTest::addColumn<double>("scale");
        QTest::addColumn<double>("zoom");
        QTest::addColumn<double>("pan");
        QTest::newRow("whole file") << 2005 << 1.0 << 1.0 << 0.0;
        QTest::newRow("whole file at 1.25x") << 2005 << 1.25 << 1.0 << 0.0;
        QTest::newRow("whole file at 2x") << 2005 << 2.0 << 1.0 << 0.0;
        QTest::newRow("bars with gaps") << 2005 << 1.0 << 12.5 << 777.3;
        QTest::newRow("bars with gaps at 1.5x") << 2005 << 1.5 << 33.3 << 5000.7;
        QTest::newRow("a handful of bars") << 7 << 1.0 << 1.0 << 0.0;
        QTest::newRow("grouped peaks") << 150'000 << 1.0 << 1.0 << 0.0;
    }

    void barsLookAsIfFilledOneByOne() {
        QFETCH(int, count);
        QFETCH(double, scale);
        QFETCH(double, zoom);
        QFETCH(double, pan);
        std::mt19937 random(1);
        std::vector<float> peaks(std::size_t(count), 0.0F);
        for (std::size_t i = 0; i < peaks.size(); ++i) {
            const double envelope = 0.55 + 0.45 * std::sin(double(i) / double(count) * 40);
            peaks[i] = float(envelope * (0.5 + double(random() % 512) / 1024));
        }
        TestView view;
        const QColor accent = view.palette().color(QPalette::Active, QPalette::Highlight);
        view.setSamples(peaks);
        view.setZoomLevel(zoom);
        view.setPanOffset(pan);
        view.setRegion(20.01, 23.5);
        const QImage drawn = view.picture(scale);
        QImage wanted =
            filledOneByOne(peaks, view.size(), scale, zoom, pan, {20.01, 23.5}, 100, accent);
        QPainter painter(&wanted); // the markers, which are not the point here
        painter.setCompositionMode(QPainter::CompositionMode_Source);
        for (const double time : {20.01, 23.5}) {
            const double x = time / 100 * 500 * zoom - pan;
            const QRectF around(x - 2, 0, 4, 100);
            painter.drawImage(around, drawn,
                              QRectF(around.topLeft() * scale, around.size() * scale));
        }
        painter.end();
        const auto [mean, largest] = difference(drawn, wanted);
        // Grouping changes the soft outer edge alone; the painter rounds after each bar.
        QVERIFY2(mean < (count > 10'000 ? 1.5 : 0.6), qPrintable(QString::number(mean)));
        if (count < 10'000)
            QVERIFY2(largest <= 8, qPrintable(QString::number(largest)));
    }

    void showsRegionMarkersAndPlayhead() {
        TestView view;
        view.setPlaybackPosition(80);
        QColor around;
        const auto at = [&](int x, int y) { return view.picture().pixelColor(x, y); };
        const QColor accent = view.palette().color(QPalette::Active, QPalette::Highlight);
        QCOMPARE(at(200, 50).rgb(), accent.rgb());
        around = at(401, 50);
        QVERIFY(around.alpha() > 100 && around.alpha() < 255);
        QVERIFY(std::abs(around.red() - 128) < 3 && std::abs(around.blue() - 128) < 3);
        QVERIFY(at(100, 5).green() > at(100, 5).red()); // start, 20 s
        QVERIFY(at(299, 5).red() > at(299, 5).green()); // end, 60 s
        QCOMPARE(at(400, 5).alpha(), 0);                // at rest: no play head
        view.setIsPlaying(true);
        QCOMPARE(at(399, 5), QColor(Qt::white));
        QCOMPARE(at(400, 5), QColor(Qt::white));
        QVERIFY(at(398, 5).alpha() > 50 && at(398, 5).red() < 50); // its dark edge
        QVERIFY(at(401, 5).alpha() > 50 && at(401, 5).red() < 50);
    }

    void followsAChangeOfPalette() {
        TestView view;
        QPalette palette = view.palette();
        palette.setColor(QPalette::Highlight, Qt::magenta);
        view.setPalette(palette);
        QCOMPARE(view.picture().pixelColor(200, 50), QColor(Qt::magenta));
    }

    void aStepOfThePlayheadRepaintsItsStripsAlone() {
        TestView view;
        view.setIsPlaying(true);
        view.setPlaybackPosition(30);
        view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&view));
        QTRY_VERIFY(!view.painted.isEmpty());
        QCoreApplication::processEvents();
        view.painted = {};
        view.setPlaybackPosition(70);
        QTRY_VERIFY(!view.painted.isEmpty());
        QVERIFY(view.painted.contains(QPoint(150, 50)));
        QVERIFY(view.painted.contains(QPoint(350, 50)));
        int width = 0;
        for (const QRect& strip : view.painted)
            width += strip.width();
        QVERIFY2(width <= 16, qPrintable(QString::number(width)));

        const auto paintsNothing = [&] {
            view.painted = {};
            QCoreApplication::processEvents();
            QCoreApplication::sendPostedEvents();
            return view.painted.isEmpty();
        };
        view.setRegion(20, 60);
        view.setZoomLevel(1);
        QVERIFY(paintsNothing()); // equal values
        view.setPlaybackPosition(1e9);
        QVERIFY(!paintsNothing());
        view.setPlaybackPosition(1e300);
        QVERIFY(paintsNothing()); // out of sight
        view.setPlaybackPosition(50);
        view.setIsPlaying(false);
        QVERIFY(!paintsNothing());
        view.setPlaybackPosition(51);
        QVERIFY(paintsNothing()); // at rest
    }

    void dragsProposeRegions_data() {
        QTest::addColumn<Region>("before");
        QTest::addColumn<int>("from");
        QTest::addColumn<int>("to");
        QTest::addColumn<Region>("proposed");
        QTest::addColumn<int>("cursor");
        const Region usual{20, 60}; // x = 100 to 300
        const int handle = Qt::SizeHorCursor;
        const int cross = Qt::CrossCursor;
        QTest::newRow("start, at its edge") << usual << 108 << 150 << Region{30, 60} << handle;
        QTest::newRow("just off the start") << usual << 109 << 150 << Region{21.8, 30} << cross;
        QTest::newRow("start past the end") << usual << 100 << 400 << Region{59.99, 60} << handle;
        QTest::newRow("end") << usual << 292 << 400 << Region{20, 80} << handle;
        QTest::newRow("end past the start") << usual << 300 << 10 << Region{20, 20.01} << handle;
        QTest::newRow("nearer one") << Region{20, 22} << 107 << 200 << Region{20, 40} << handle;
        QTest::newRow("tie") << Region{20, 22} << 105 << 50 << Region{10, 22} << handle;
        QTest::newRow("new, leftwards") << usual << 400 << 350 << Region{70, 80} << cross;
        QTest::newRow("new, beyond the end") << usual << 400 << 5000 << Region{80, 100} << cross;
        QTest::newRow("start, off the left") << usual << 100 << -999 << Region{0, 60} << handle;
        QTest::newRow("new, empty") << usual << 400 << 400 << Region{80, 80} << cross;
    }

    void dragsProposeRegions() {
        QFETCH(Region, before);
        QFETCH(int, from);
        QFETCH(int, to);
        QFETCH(Region, proposed);
        QFETCH(int, cursor);
        for (const Qt::KeyboardModifiers modifiers : {Qt::NoModifier, Qt::ShiftModifier}) {
            TestView view;
            view.setRegion(before.start, before.end);
            QTest::mousePress(&view, Qt::LeftButton, modifiers, QPoint(from, 50));
            QCOMPARE(int(view.cursor().shape()), cursor);
            QCOMPARE(view.resigns, 1);
            QVERIFY(view.regions.empty());
            for (const int x : {from + (to - from) / 2, -700, 1700, to})
                QTest::mouseMove(&view, QPoint(x, -300));
            for (const Region& region : view.regions)
                QVERIFY(region.start >= 0 && region.end <= 100 && region.start <= region.end);
            QVERIFY(near(view.regions.back().start, proposed.start));
            QVERIFY(near(view.regions.back().end, proposed.end));
            QCOMPARE(view.dragsEnded, 0);
            QTest::mouseRelease(&view, Qt::LeftButton, modifiers, QPoint(to, 900));
            QCOMPARE(view.cursor().shape(), Qt::ArrowCursor);
            QCOMPARE(view.dragsEnded, 1);
        }
    }

    void aPressAloneChangesNothing() {
        TestView view;
        QTest::mouseClick(&view, Qt::LeftButton, {}, QPoint(400, 50));
        QTest::mouseMove(&view, QPoint(450, 50));
        QVERIFY(view.regions.empty());
        QCOMPARE(view.dragsEnded, 1);
    }

    void onlyTheLeftButtonDrags() {
        TestView view;
        for (const auto button : {Qt::RightButton, Qt::MiddleButton}) {
            QTest::mousePress(&view, button, {}, QPoint(100, 50));
            QTest::mouseMove(&view, QPoint(150, 50));
            QTest::mouseRelease(&view, button, {}, QPoint(150, 50));
        }
        QVERIFY(view.regions.empty());
        QCOMPARE(view.dragsEnded, 0);
        QCOMPARE(view.resigns, 0);
        QTest::mousePress(&view, Qt::LeftButton, {}, QPoint(100, 50));
        QTest::mouseClick(&view, Qt::RightButton, {}, QPoint(120, 50));
        QTest::mouseMove(&view, QPoint(150, 50));
        QCOMPARE(view.dragsEnded, 0);
        QVERIFY(near(view.regions.back().start, 30));
    }

    void aDragEndsWithItsFileOrItsWindow() {
        const std::vector<std::function<void(TestView&)>> interruptions = {
            [](TestView& view) {
                view.setSamples({0.1F, 0.2F});
            },
            [](TestView& view) { view.setDuration(7); }, [](TestView& view) { view.close(); }};
        for (const auto& interrupt : interruptions) {
            TestView view;
            view.show();
            QTest::mousePress(&view, Qt::LeftButton, {}, QPoint(100, 50));
            interrupt(view);
            QCOMPARE(view.cursor().shape(), Qt::ArrowCursor);
            QTest::mouseMove(&view, QPoint(150, 50));
            QTest::mouseRelease(&view, Qt::LeftButton, {}, QPoint(150, 50));
            QVERIFY(view.regions.empty());
            QCOMPARE(view.dragsEnded, 0);
        }
    }

    void scrollingPans_data() {
        QTest::addColumn<double>("zoom");
        QTest::addColumn<QPoint>("pixels");
        QTest::addColumn<QPoint>("angle");
        QTest::addColumn<int>("modifiers");
        QTest::addColumn<double>("pan"); // from 100; negative: no proposal
        const int shift = Qt::ShiftModifier;
        QTest::newRow("content follows") << 2.0 << QPoint(-30, 4) << QPoint(-240, 32) << 0 << 160.0;
        QTest::newRow("file start") << 2.0 << QPoint(90, 0) << QPoint(720, 0) << 0 << 0.0;
        QTest::newRow("file end") << 2.0 << QPoint(-900, 0) << QPoint(-7200, 0) << 0 << 500.0;
        QTest::newRow("wheel") << 2.0 << QPoint() << QPoint(-120, 0) << 0 << 130.0;
        QTest::newRow("shift") << 2.0 << QPoint() << QPoint(0, -120) << shift << 130.0;
        QTest::newRow("vertical") << 2.0 << QPoint(0, 50) << QPoint(0, 400) << 0 << -1.0;
        QTest::newRow("not zoomed") << 1.0 << QPoint(-30, 0) << QPoint(-240, 0) << 0 << -1.0;
    }

    void scrollingPans() {
        QFETCH(double, zoom);
        QFETCH(QPoint, pixels);
        QFETCH(QPoint, angle);
        QFETCH(int, modifiers);
        QFETCH(double, pan);
        TestView view;
        view.setZoomLevel(zoom);
        view.setPanOffset(100);
        view.wheel(QPointF(10, 50), pixels, angle, Qt::KeyboardModifiers(modifiers));
        QCOMPARE(view.zooms.size(), std::size_t(pan < 0 ? 0 : 1));
        if (pan < 0)
            return;
        QCOMPARE(view.zooms[0].zoomLevel, zoom);
        QVERIFY(near(view.zooms[0].panOffset, pan));
    }

    void pinchesZoomAboutTheCentre_data() {
        QTest::addColumn<double>("zoom");
        QTest::addColumn<double>("pan");
        QTest::addColumn<double>("magnification");
        QTest::addColumn<double>("newZoom");
        QTest::addColumn<double>("newPan");
        QTest::newRow("in") << 1.0 << 0.0 << 0.5 << 1.5 << 125.0;
        QTest::newRow("out, kept in the file") << 2.0 << 500.0 << -0.25 << 1.5 << 250.0;
        QTest::newRow("not below 1") << 1.2 << 50.0 << -0.9 << 1.0 << 0.0;
        QTest::newRow("not above 50") << 40.0 << 0.0 << 1.0 << 50.0 << 62.5;
    }

    void pinchesZoomAboutTheCentre() {
        QFETCH(double, zoom);
        QFETCH(double, pan);
        QFETCH(double, magnification);
        QFETCH(double, newZoom);
        QFETCH(double, newPan);
        TestView view;
        view.setZoomLevel(zoom);
        view.setPanOffset(pan);
        view.pinch(magnification);
        QCOMPARE(view.zooms.size(), std::size_t(1));
        QVERIFY(near(view.zooms[0].zoomLevel, newZoom));
        QVERIFY(near(view.zooms[0].panOffset, newPan));
    }

    void ctrlAndWheelZoomAboutThePointer() {
        TestView view;
        view.wheel(QPointF(400, 50), {}, QPoint(0, 360), Qt::ControlModifier);
        QVERIFY(near(view.zooms.back().zoomLevel, 2));
        QVERIFY(near(view.zooms.back().panOffset, 400)); // 80 s still at x = 400
        view.setZoomLevel(2);
        view.setPanOffset(400);
        view.wheel(QPointF(400, 50), {}, QPoint(0, -360), Qt::ControlModifier);
        QVERIFY(near(view.zooms.back().zoomLevel, 1));
        QVERIFY(near(view.zooms.back().panOffset, 0));
    }

    void tellsScreenReadersTheRegion() {
        TestView view;
        view.setDuration(3661.5);
        view.setRegion(0.0019, 83.0456);
        QAccessibleInterface* const seen = QAccessible::queryAccessibleInterface(&view);
        QVERIFY(seen);
        QCOMPARE(seen->role(), QAccessible::Graphic);
        QCOMPARE(seen->text(QAccessible::Name), QStringLiteral("Waveform"));
        QCOMPARE(seen->text(QAccessible::Description),
                 QStringLiteral("Region 0:00.001 to 1:23.045 of 61:01.500"));
    }

    void bearsAnyNumbers() {
        const std::vector<double> values = {-1e308, -1,    0,        1e-320,    0.005,
                                            50,     1e308, infinity, notANumber};
        TestView view;
        view.resize(60, 20);
        view.setIsPlaying(true);
        view.setSamples({1, -1, 1e30F, float(infinity), float(notANumber), 1e-40F});
        const std::vector<void (WaveformNSView::*)(double)> setters = {
            &WaveformNSView::setDuration,  &WaveformNSView::setRegionStart,
            &WaveformNSView::setRegionEnd, &WaveformNSView::setPlaybackPosition,
            &WaveformNSView::setZoomLevel, &WaveformNSView::setPanOffset};
        const auto use = [&view] {
            view.picture(1.25);
            view.drag(30, {10, 50});
            view.wheel(QPointF(3, 3), {}, QPoint(-120, 0));
            view.wheel(QPointF(3, 3), {}, QPoint(0, 120), Qt::ControlModifier);
            view.pinch(0.1);
            for (const ZoomAndPan& proposal : view.zooms)
                QVERIFY(std::isfinite(proposal.panOffset) || proposal.zoomLevel > 50);
            view.zooms.clear();
        };
        for (const auto first : setters)
            for (const auto second : setters)
                for (const double a : values)
                    for (const double b : values) {
                        (view.*first)(a);
                        (view.*second)(b);
                        use();
                        view.setDuration(100);
                        view.setRegion(20, 60);
                        view.setZoomLevel(1);
                        view.setPanOffset(0);
                    }
        view.resize(0, 0);
        use();
    }
};

QTEST_MAIN(WaveformNSViewWindowTest)
#include "WaveformNSViewWindowTest.moc"
