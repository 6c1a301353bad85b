#include "PrivateSoundServer.h"

#include <QDeadlineTimer>
#include <QTest>

#include <sched.h>
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

/// Lets a server's main thread run before ordinary programs, where that is allowed: beside busy
/// ones it was seen to wait for 150 ms, and what is recorded then tells of nothing but that.
void goFirst(pid_t server) {
    const sched_param parameters = {.sched_priority = 4};
    sched_setscheduler(server, SCHED_RR | SCHED_RESET_ON_FORK, &parameters);
}

QString channelMap(int channels) {
    switch (channels) {
    case 1:
        return QStringLiteral("mono");
    case 2:
        return QStringLiteral("front-left,front-right");
    default:
        return QStringLiteral("front-left,front-right,rear-left,rear-right,front-center,lfe");
    }
}

QString sinkArguments(const QString& name, const SinkShape& shape) {
    return QStringLiteral("sink_name=%1 norewinds=1 rate=%2 channels=%3 channel_map=%4")
        .arg(name)
        .arg(shape.sampleRateHz)
        .arg(shape.channels)
        .arg(channelMap(shape.channels));
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

void PrivateSoundServer::start(const SinkShape& shape) {
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
         QStringLiteral("module-null-sink ") + sinkArguments(QStringLiteral("one"), shape),
         QStringLiteral("-L"),
         QStringLiteral("module-native-protocol-unix auth-anonymous=1 socket=") + socketPath()});
    QVERIFY2(process_.waitForStarted(), "pulseaudio is not installed");
    QTRY_VERIFY_WITH_TIMEOUT(answers(socketPath().toUtf8()), patienceMilliseconds);
    goFirst(static_cast<pid_t>(process_.processId()));
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

void PrivateSoundServer::addSink(const QString& name, const SinkShape& shape) {
    control(QStringList{QStringLiteral("load-module"), QStringLiteral("module-null-sink")} +
            sinkArguments(name, shape).split(u' '));
}

void PrivateSoundServer::removeSink(const QString& name) {
    const QString modules =
        control({QStringLiteral("list"), QStringLiteral("short"), QStringLiteral("modules")});
    for (const QString& module : modules.split(u'\n'))
        if (module.contains(QStringLiteral("sink_name=%1 ").arg(name)))
            control({QStringLiteral("unload-module"), module.section(u'\t', 0, 0)});
}

void PrivateSoundServer::makeDefault(const QString& name) {
    control({QStringLiteral("set-default-sink"), name});
}

QString PrivateSoundServer::control(const QStringList& arguments) {
    QProcess pactl;
    pactl.start(QStringLiteral("pactl"), arguments);
    pactl.waitForFinished(patienceMilliseconds);
    return QString::fromUtf8(pactl.readAllStandardOutput());
}

QString PrivateSoundServer::socketPath() const {
    return folder_.filePath(QStringLiteral("socket"));
}

SinkRecorder::SinkRecorder(const QString& sink, const SinkShape& shape) : shape_(shape) {
    startChild(process_, {QStringLiteral("parec"), QStringLiteral("--raw"),
                          QStringLiteral("--format=float32le"),
                          QStringLiteral("--rate=%1").arg(shape.sampleRateHz),
                          QStringLiteral("--channels=%1").arg(shape.channels),
                          QStringLiteral("--channel-map=") + channelMap(shape.channels),
                          QStringLiteral("--latency-msec=5"),
                          QStringLiteral("--device=%1.monitor").arg(sink)});
    next();
}

SinkRecorder::~SinkRecorder() {
    process_.kill();
    process_.waitForFinished();
}

std::vector<float> SinkRecorder::record(std::chrono::milliseconds duration) {
    next();
    const auto wanted = static_cast<std::size_t>(duration.count() * shape_.sampleRateHz / 1000);
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

std::vector<float> SinkRecorder::available() {
    process_.waitForReadyRead(0);
    rest_ += process_.readAllStandardOutput();
    const qsizetype frameBytes = shape_.channels * qsizetype(sizeof(float));
    const qsizetype bytes = rest_.size() / frameBytes * frameBytes;
    std::vector<float> samples(static_cast<std::size_t>(bytes) / sizeof(float));
    if (bytes > 0) {
        std::memcpy(samples.data(), rest_.constData(), static_cast<std::size_t>(bytes));
    }
    rest_.remove(0, bytes);
    return samples;
}

std::vector<float> SinkRecorder::next() {
    std::vector<float> samples = available();
    while (samples.empty() && process_.waitForReadyRead(patienceMilliseconds)) {
        samples = available();
    }
    const auto channels = static_cast<std::size_t>(shape_.channels);
    std::vector<float> left;
    for (std::size_t at = 0; at < samples.size(); at += channels) {
        left.push_back(samples[at]);
    }
    return left;
}

double level(const std::vector<float>& samples) {
    double sum = 0;
    for (const float sample : samples) {
        sum += static_cast<double>(sample) * sample;
    }
    return samples.empty() ? 0 : std::sqrt(sum / static_cast<double>(samples.size()));
}

} // namespace ambrel
