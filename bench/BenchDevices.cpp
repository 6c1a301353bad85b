// A loop that plays while the sound server, its sinks and their rates change: whether the practice
// goes on and the sound comes back as it was. Brings a sound server of its own.
//
//   BenchDevices [--seconds N] [--only WORD]   N seconds (60) of each case whose name has WORD in
//   it
//
// And how long closing the device takes, whatever has become of the server by then.
//
// One line for each case; what is beyond its limit is named, and the exit status is 1.

#include "DeviceCases.h"

#include "PrivateSoundServer.h"
#include "platform/sound/device/DeviceOutput.h"
#include "support/ToneSource.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTest>

#include <unistd.h>

#include <cstdio>

namespace {

using namespace ambrel;
using namespace ambrel::test;

void print(const Measure& measure, const char* end) {
    std::printf("%s %.3g%s%s (at most %.3g)%s", measure.what, measure.got, *measure.unit ? " " : "",
                measure.unit, measure.most, end);
}

/// Whether every measure is within its limit.
bool runCase(const DeviceCase& deviceCase, double seconds) {
    // A case that hangs is ended by the signal.
    constexpr unsigned patienceSeconds = 240;
    alarm(static_cast<unsigned>(2 * seconds) + patienceSeconds);
    DeviceTrial trial(seconds / deviceCase.parts);
    deviceCase.run(trial);
    const std::vector<Measure> measures = trial.finish();
    const bool reached = std::ranges::all_of(measures, &Measure::isReached);
    std::printf("%s, %g s: %s: ", deviceCase.name, seconds, reached ? "ok" : "MISSED");
    for (const Measure& measure : measures) {
        std::printf("%s", measure.isReached() ? "" : "MISSED ");
        print(measure, &measure == &measures.back() ? "\n" : ", ");
    }
    std::fflush(stdout);
    return reached;
}

/// Whether the device can be closed within the time that a program has for its end.
bool closes(const char* state, bool playing) {
    constexpr double mostMs = 800;
    PrivateSoundServer server;
    ToneSource source;
    auto output = std::make_unique<DeviceOutput>();
    const std::string_view given(state);
    if (given != "absent")
        server.start();
    if (given == "hung from the start")
        server.hang();
    output->open(source);
    if (playing) {
        output->start();
        while (source.rendered() == 0)
            QTest::qWait(1);
    }
    if (given == "killed")
        server.kill();
    else if (given == "hung")
        server.hang();
    QElapsedTimer timer;
    timer.start();
    output.reset();
    const Measure took{"took", "ms", double(timer.elapsed()), mostMs};
    std::printf("closing, server %s, %s: %s: ", state, playing ? "playing" : "open",
                took.isReached() ? "ok" : "MISSED");
    print(took, "\n");
    return took.isReached();
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    QCommandLineParser arguments;
    const QCommandLineOption secondsOption(QStringLiteral("seconds"), QString(),
                                           QStringLiteral("N"), QStringLiteral("60"));
    const QCommandLineOption onlyOption(QStringLiteral("only"), QString(), QStringLiteral("WORD"));
    arguments.addOptions({secondsOption, onlyOption});
    arguments.process(application);
    bool reached = true;
    for (const DeviceCase& deviceCase : deviceCases())
        if (QString::fromUtf8(deviceCase.name).contains(arguments.value(onlyOption)))
            reached = runCase(deviceCase, arguments.value(secondsOption).toDouble()) && reached;
    for (const char* state : {"absent", "running", "killed", "hung", "hung from the start"})
        for (const bool playing : {false, true})
            if (!arguments.isSet(onlyOption))
                reached = closes(state, playing) && reached;
    return reached ? 0 : 1;
}
