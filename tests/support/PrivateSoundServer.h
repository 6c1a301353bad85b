#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <chrono>
#include <memory>
#include <vector>

namespace ambrel {

/// A PulseAudio of the test's own, whose sinks play to nobody.
///
/// From construction on, this process and its children see no other server. The server ends with
/// the object, and with the process should that crash. One at a time.
class PrivateSoundServer {
  public:
    /// Does not start it.
    PrivateSoundServer();
    ~PrivateSoundServer();

    /// Returns when it answers, with one sink named "one" at `sampleRateHz`.
    void start(int sampleRateHz = 48'000);

    /// Ends it at once, as a crash would.
    void kill();

    /// It stays connected and answers nothing until goOn().
    void hang();
    void goOn();

    void addSink(const QString& name);

    /// pactl ARGUMENTS…
    void control(const QStringList& arguments);

  private:
    QString socketPath() const;

    QTemporaryDir folder_;
    QProcess process_;
};

/// Records what a sink plays, from construction on.
class SinkRecorder {
  public:
    static constexpr int sampleRateHz = 48'000;

    /// Returns when the recording runs.
    explicit SinkRecorder(const QString& sink = QStringLiteral("one"));
    ~SinkRecorder();

    /// The left channel of what is played during the next `duration`.
    std::vector<float> record(std::chrono::milliseconds duration);

  private:
    /// The left channel of what has been played since last asked; waits for at least one frame.
    std::vector<float> next();

    QProcess process_;
    QByteArray rest_;
};

/// The root mean square of samples.
double level(const std::vector<float>& samples);

} // namespace ambrel
