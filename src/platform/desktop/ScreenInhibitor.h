#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>

namespace ambrel {

/// Keeps the screen from going blank: through org.freedesktop.ScreenSaver on the session bus, or
/// through the desktop portal where nobody has that name. Never waits for an answer; without either
/// nothing happens. Main thread only.
class ScreenInhibitor : public QObject {
    Q_OBJECT

  public:
    /// `reason` is what the desktop may show the user.
    explicit ScreenInhibitor(const QString& reason);
    ~ScreenInhibitor() override;

    void setActive(bool active);

  private:
    void ask(const QDBusMessage& request);
    void takeAnswer(const QDBusMessage& answer);
    void release();

    QDBusConnection bus_;
    QString reason_;
    bool wanted_ = false;
    bool asking_ = false;  ///< an answer is on its way
    QDBusMessage release_; ///< lets the screen go blank again; invalid while it may anyway
};

} // namespace ambrel
