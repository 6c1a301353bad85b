#include "support/PrivateSoundServer.h"

#include <QDeadlineTimer>
#include <QTest>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cmath>
#include <csignal>
#include <cstring>

namespace ambrel {

namespace {

using namespace std::chrono_literals;

constexpr int patienceMilliseconds = 10'000;

/// Starts a program that does not outlive this process. (A QProcess with a child modifier forks,
/// which ThreadSanitizer does not bear with several threads.)
void startChild(QProcess& process, const QStringList& command) {
    const QStringList dyingWithUs = {QStringLiteral("--pdeathsig"), QStringLiteral("KILL")};
    process.start(QStringLiteral("setpriv"), dyingWithUs + command);
}

bool answers(const QByteArray& path) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.constData(), sizeof address.sun_path - 1);
    const int descriptor = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool connected =
        ::connect(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    ::close(descriptor);
    return connected;
}

QString sinkArguments(const QString& name, int sampleRateHz) {
    return QStringLiteral("sink_name=%1 norewinds=1 rate=%2").arg(name).arg(sampleRateHz);
}

} // namespace

PrivateSoundServer::PrivateSoundServer() {
    qputenv("XDG_RUNTIME_DIR", folder_.path().toUtf8());
    qputenv("PULSE_SERVER", "unix:" + socketPath().toUtf8());
    qputenv("PULSE_COOKIE", folder_.filePath(QStringLiteral("cookie")).toUtf8());
}

PrivateSoundServer::~PrivateSoundServer() {
    kill();
}

void PrivateSoundServer::start(int sampleRateHz) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("HOME"), folder_.path());
    environment.insert(QStringLiteral("PULSE_RUNTIME_PATH"), folder_.path());
    process_.setProcessEnvironment(environment);
    process_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    startChild(
        process_,
        {QStringLiteral("pulseaudio"), QStringLiteral("--daemonize=no"), QStringLiteral("-n"),
         QStringLiteral("--system=no"), QStringLiteral("--use-pid-file=no"),
         QStringLiteral("--exit-idle-time=-1"), QStringLiteral("--log-level=error"),
         QStringLiteral("-L"),
         QStringLiteral("module-null-sink ") + sinkArguments(QStringLiteral("one"), sampleRateHz),
         QStringLiteral("-L"),
         QStringLiteral("module-native-protocol-unix auth-anonymous=1 socket=") + socketPath()});
    QVERIFY2(process_.waitForStarted(), "pulseaudio is not installed");
    QTRY_VERIFY_WITH_TIMEOUT(answers(socketPath().toUtf8()), patienceMilliseconds);
}

void PrivateSoundServer::kill() {
    if (process_.state() != QProcess::NotRunning) {
        process_.kill();
        process_.waitForFinished();
    }
    QFile::remove(socketPath());
}

void PrivateSoundServer::hang() {
    ::kill(static_cast<pid_t>(process_.processId()), SIGSTOP);
}

void PrivateSoundServer::goOn() {
    ::kill(static_cast<pid_t>(process_.processId()), SIGCONT);
}

void PrivateSoundServer::addSink(const QString& name) {
    control(QStringList{QStringLiteral("load-module"), QStringLiteral("module-null-sink")} +
            sinkArguments(name, 48'000).split(u' '));
}

void PrivateSoundServer::control(const QStringList& arguments) {
    QProcess pactl;
    pactl.start(QStringLiteral("pactl"), arguments);
    pactl.waitForFinished(patienceMilliseconds);
}

QString PrivateSoundServer::socketPath() const {
    return folder_.filePath(QStringLiteral("socket"));
}

SinkRecorder::SinkRecorder(const QString& sink) {
    startChild(process_,
               {QStringLiteral("parec"), QStringLiteral("--raw"),
                QStringLiteral("--format=float32le"), QStringLiteral("--rate=%1").arg(sampleRateHz),
                QStringLiteral("--channels=2"), QStringLiteral("--latency-msec=5"),
                QStringLiteral("--device=%1.monitor").arg(sink)});
    next();
}

SinkRecorder::~SinkRecorder() {
    process_.kill();
    process_.waitForFinished();
}

std::vector<float> SinkRecorder::record(std::chrono::milliseconds duration) {
    next();
    const auto wanted = static_cast<std::size_t>(duration.count()) * sampleRateHz / 1000;
    std::vector<float> samples;
    while (samples.size() < wanted) {
        const std::vector<float> more = next();
        if (more.empty()) {
            break;
        }
        samples.insert(samples.end(), more.begin(), more.end());
    }
    samples.resize(std::min(samples.size(), wanted));
    return samples;
}

std::vector<float> SinkRecorder::next() {
    constexpr qsizetype frameBytes = 2 * sizeof(float);
    while (rest_.size() < frameBytes) {
        if (process_.bytesAvailable() == 0 && !process_.waitForReadyRead(patienceMilliseconds)) {
            return {};
        }
        rest_ += process_.readAllStandardOutput();
    }
    const qsizetype frames = rest_.size() / frameBytes;
    std::vector<float> samples(static_cast<std::size_t>(frames));
    for (qsizetype frame = 0; frame < frames; ++frame) {
        std::memcpy(&samples[static_cast<std::size_t>(frame)],
                    rest_.constData() + frame * frameBytes, sizeof(float));
    }
    rest_.remove(0, frames * frameBytes);
    return samples;
}

double level(const std::vector<float>& samples) {
    double sum = 0;
    for (const float sample : samples) {
        sum += static_cast<double>(sample) * sample;
    }
    return samples.empty() ? 0 : std::sqrt(sum / static_cast<double>(samples.size()));
}

} // namespace ambrel
