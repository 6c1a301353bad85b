#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <chrono>
#include <memory>
#include <vector>

namespace ambrel {

/// What a sink plays: 1, 2 or 6 channels, of which the first two are the left and the right.
struct SinkShape {
    int sampleRateHz = 48'000;
    int channels = 2;
};

/// A PulseAudio of the test's own, whose sinks play to nobody.
///
/// From construction on, this process and its children see no other server. The server ends with
/// the object, and with the process should that crash. One at a time.
class PrivateSoundServer {
  public:
    /// Does not start it.
    PrivateSoundServer();
    ~PrivateSoundServer();

    /// Returns when it answers, with one sink named "one".
    void start(const SinkShape& shape = {});

    /// Ends it at once, as a crash would.
    void kill();

    /// It stays connected and answers nothing until goOn().
    void hang();
    void goOn();

    void addSink(const QString& name, const SinkShape& shape = {});
    void removeSink(const QString& name);
    void makeDefault(const QString& name);

    /// pactl ARGUMENTS…, and what it prints.
    QString control(const QStringList& arguments);

  private:
    QString socketPath() const;

    QTemporaryDir folder_;
    QProcess process_;
};

/// Records what a sink plays, from construction on.
class SinkRecorder {
  public:
    /// Returns when the recording runs. Another shape than the sink's has the server convert, and
    /// may set the rate of a sink that nothing plays on.
    explicit SinkRecorder(const QString& sink = QStringLiteral("one"), const SinkShape& shape = {});
    ~SinkRecorder();

    /// The left channel of what is played during the next `duration`.
    std::vector<float> record(std::chrono::milliseconds duration);

    /// All channels, interleaved, of what has been played since last asked. Does not wait.
    std::vector<float> available();

  private:
    /// The left channel of what has been played since last asked; waits for at least one frame.
    std::vector<float> next();

    SinkShape shape_;
    QProcess process_;
    QByteArray rest_;
};

/// The root mean square of samples.
double level(const std::vector<float>& samples);

} // namespace ambrel
