#include "ui/window/WaveformSection.h"

#include <QPainter>
#include <QVBoxLayout>

#include "app/AppState.h"
#include "audio/AudioEngine.h"
#include "ui/controls/Theme.h"
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
    : QWidget(parent), navigation_(state),
      backdrop_(new Backdrop(WaveformView(state, std::move(engine)), navigation_)) {
    auto* const column = new QVBoxLayout(this);
    column->addWidget(backdrop_);
    column->addWidget(new ZoomBar(std::move(state), navigation_));
    connect(&Theme::shared(), &Theme::changed, this, &WaveformSection::applyTheme);
    applyTheme();
}

void WaveformSection::applyTheme() {
    backdrop_->setFixedHeight(Theme::length(100));
    layout()->setSpacing(Theme::length(4));
    layout()->setContentsMargins(Theme::length(16), Theme::length(12), Theme::length(16),
                                 Theme::length(8));
}

} // namespace ambrel
