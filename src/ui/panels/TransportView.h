#pragma once

#include <memory>

#include <QWidget>

#include "app/AppState.h"

namespace ambrel {

class AudioEngine;
class SymbolButton;
class TextLabel;

/// Start and pause button, and the position of the play head.
class TransportView : public QWidget {
    Q_OBJECT

  public:
    TransportView(std::shared_ptr<AppState> state, std::shared_ptr<AudioEngine> engine,
                  QWidget* parent = nullptr);

  private:
    void showTransport();
    void showPosition();
    void fitReadOut();

    std::shared_ptr<AppState> state_;
    std::shared_ptr<AudioEngine> engine_;
    SymbolButton* button_;
    TextLabel* readOut_;
};

} // namespace ambrel
