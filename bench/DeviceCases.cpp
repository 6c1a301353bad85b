#include "DeviceCases.h"

#include <array>

namespace ambrel::test {

namespace {

const QString one = QStringLiteral("one");
const QString two = QStringLiteral("two");
const QString three = QStringLiteral("three");

void killServer(PrivateSoundServer& server) {
    server.kill();
}

DeviceTrial::Deed startServer(const SinkShape& shape) {
    return [shape](PrivateSoundServer& server) { server.start(shape); };
}

void restartServer(DeviceTrial& trial) {
    trial.playTo({});
    for (int turn = 0; turn < 3; ++turn) {
        trial.lose(killServer);
        trial.bring(startServer({}), one);
    }
}

void changeSinks(DeviceTrial& trial) {
    trial.playTo({});
    trial.bring(
        [](PrivateSoundServer& server) {
            server.addSink(two);
            server.makeDefault(two);
        },
        two);
    trial.bring([](PrivateSoundServer& server) { server.removeSink(two); }, one);
    trial.lose([](PrivateSoundServer& server) { server.removeSink(one); });
    trial.bring([](PrivateSoundServer& server) { server.addSink(three); }, three);
}

void changeRates(DeviceTrial& trial) {
    trial.playTo({44'100});
    for (const int rateHz : {48'000, 96'000}) {
        trial.lose(killServer);
        trial.bring(startServer({rateHz}), one, {rateHz});
    }
}

void comeLate(DeviceTrial& trial) {
    trial.play();
    trial.playToNobody();
    trial.bring(startServer({}), one);
}

void hang(DeviceTrial& trial) {
    trial.playTo({});
    for (int turn = 0; turn < 2; ++turn) {
        trial.lose([](PrivateSoundServer& server) { server.hang(); });
        trial.bring([](PrivateSoundServer& server) { server.goOn(); }, one);
    }
}

constexpr std::array<DeviceCase, 7> cases = {{
    {"server killed and started three times", 7, restartServer},
    {"another sink made default, the default removed, the last removed, one added", 5, changeSinks},
    {"sinks at 44,100, 48,000 and 96,000 Hz", 5, changeRates},
    {"a mono sink", 1,
     [](DeviceTrial& trial) {
         trial.playTo({48'000, 1});
     }},
    {"a sink of 6 channels", 1,
     [](DeviceTrial& trial) {
         trial.playTo({48'000, 6});
     }},
    {"no server at first", 2, comeLate},
    {"server hung twice", 4, hang},
}};

} // namespace

std::span<const DeviceCase> deviceCases() {
    return cases;
}

} // namespace ambrel::test
