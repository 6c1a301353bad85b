#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QUrl>
#include <QVariantMap>

namespace ambrel {

/// The program as a media player on the session bus (MPRIS 2), for media keys, panels and other
/// programs. Its name there is `org.mpris.MediaPlayer2.ambrel`; if another program has it,
/// `.instance` and the number of the process are appended.
///
/// What comes from the bus is checked before it reaches the program. Without a session bus nothing
/// happens, and nothing here waits for another program. Main thread only.
class MprisPlayer : public QDBusVirtualObject {
    Q_OBJECT

  public:
    enum class Playback { stopped, paused, playing };

    struct State {
        QUrl file; ///< empty while none is open: nothing can be controlled then
        QString title;
        std::int64_t microseconds = 0; ///< the file's length
        bool canPlay = false;
        Playback playback = Playback::stopped;
        double rate = 1; ///< 1 is normal speed
        bool loops = false;
    };

    /// What it shows and controls. The commands are called only when they make sense.
    struct Program {
        std::function<State()> state;
        std::function<std::int64_t()> position; ///< microseconds
        double lowestRate = 1, highestRate = 1;
        std::function<void(double)> setRate; ///< any number
        std::function<void()> toggleLoop, play, pause, stop, raise, quit;
    };

    explicit MprisPlayer(Program program);

    /// Tells the bus what differs from the last time.
    void update();

    /// Tells the bus that the position has jumped.
    void tellPosition();

    QString introspect(const QString& path) const override;
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

  private:
    /// A method without results. Every type of its arguments is one character of the signature.
    struct Method {
        QString interface, name, signature;
        std::function<void()> call; ///< empty: refused
    };

    std::vector<Method> makeMethods();
    void requestName(const QString& name);
    void send(const QString& interface, const QString& signal, const QVariantList& arguments);
    QVariantMap properties(const QString& interface) const;
    QDBusMessage answer(const QDBusMessage& message);
    QDBusMessage answerAboutProperties(const QDBusMessage& message);
    QDBusMessage set(const QDBusMessage& message, const QString& name, const QVariant& value);

    const Program program_;
    const std::vector<Method> methods_;
    QDBusConnection bus_;
    State state_;
    QVariantMap shown_; ///< of the player, but the position
    int track_ = 0;     ///< number of the open file
};

} // namespace ambrel
