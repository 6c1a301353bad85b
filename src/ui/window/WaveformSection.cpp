#include "ui/window/WaveformSection.h"

#include <QPainter>
#include <QVBoxLayout>

#include "app/AppState.h"
#include "audio/AudioEngine.h"
#include "ui/look/Theme.h"
#include "ui/window/ZoomBar.h"
#include "waveform/view/WaveformNSView.h"
#include "waveform/view/WaveformView.h"

namespace ambrel {
namespace {

constexpr double cornerRadius = 4;        // points
const QColor backdropColour(0, 0, 0, 13); // black, 5 % opaque

/// The area that shows the waveform, on its rounded background. It tells its width whenever it is
/// shown and whenever that changes.
class Backdrop : public QWidget {
  public:
    Backdrop(const WaveformView& waveform, ZoomNavigation& navigation)
        : navigation_(navigation), view_(waveform.makeNSView(this)) {
        view_->setCornerRadius(cornerRadius);
    }

  protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(backdropColour);
        painter.drawRoundedRect(QRectF(rect()), cornerRadius, cornerRadius);
    }
    void resizeEvent(QResizeEvent*) override {
        view_->setGeometry(rect());
        navigation_.setWaveformViewWidth(width());
    }
    void showEvent(QShowEvent*) override { navigation_.setWaveformViewWidth(width()); }

  private:
    ZoomNavigation& navigation_;
    WaveformNSView* view_;
};

} // namespace

WaveformSection::WaveformSection(std::shared_ptr<AppState> state,
                                 std::shared_ptr<AudioEngine> engine, QWidget* parent)
    : QWidget(parent), navigation_(state) {
    auto* const backdrop = new Backdrop(WaveformView(state, std::move(engine)), navigation_);
    auto* const column = new QVBoxLayout(this);
    Theme::space(column, 4, {16, 12, 16, 8});
    column->addWidget(backdrop);
    column->addWidget(new ZoomBar(std::move(state), navigation_));
    Theme::follow(backdrop, [backdrop] { backdrop->setFixedHeight(Theme::length(100)); });
}

} // namespace ambrel
