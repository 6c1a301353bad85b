#include <chrono>
#include <clocale>
#include <cstdio>
#include <cstdlib>

#include <QApplication>
#include <QDir>
#include <QLocale>

#include "app/CommandLine.h"
#include "app/main/AmbrelApp.h"
#include "platform/desktop/ApplicationBundle.h"
#include "platform/desktop/BringToFront.h"
#include "platform/desktop/ExitDeadline.h"
#include "platform/desktop/RunningInstance.h"

namespace {

constexpr int kBadUse = 2;

/// Time for quitting after everything has been saved.
constexpr std::chrono::milliseconds kEndTime{650};

void print(std::FILE* stream, const QString& text) {
    std::fputs(text.toUtf8().constData(), stream);
    std::fflush(stream);
}

/// Without a display Qt prints a long explanation and aborts; one sentence and an exit status are
/// better.
void leaveWithoutDisplay(QtMsgType type, const QMessageLogContext&, const QString&) {
    if (type != QtFatalMsg)
        return;
    print(stderr, QStringLiteral("ambrel: There is no display to open a window on.\n"));
    std::_Exit(kBadUse);
}

QStringList decoded(int argc, char** argv) {
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QFile::decodeName(argv[i]);
    return arguments;
}

/// Numbers are shown and read the same way everywhere.
void useNeutralNumbers() {
    std::setlocale(LC_NUMERIC, "C");
    QLocale::setDefault(QLocale::c());
}

/// What a mixer shows beside the sound, and the library of the sound server takes from the
/// environment.
void nameForMixers() {
    for (const char* name : {"PULSE_PROP_application.id", "PULSE_PROP_application.icon_name"}) {
        if (!qEnvironmentVariableIsSet(name))
            qputenv(name, ambrel::ApplicationBundle::identifier().toUtf8());
    }
}

} // namespace

int main(int argc, char** argv) {
    static ambrel::ExitDeadline deadline; // destroyed after all other static objects
    const auto commandLine = ambrel::CommandLine::parse(decoded(argc, argv), QDir::currentPath());
    if (!commandLine.error.isEmpty()) {
        print(stderr, QStringLiteral("ambrel: %1\n").arg(commandLine.error));
        return kBadUse;
    }
    if (!commandLine.answer.isEmpty()) {
        print(stdout, commandLine.answer);
        return EXIT_SUCCESS;
    }

    nameForMixers(); // before there are threads that read the environment
    const QString token = ambrel::startToken();
    const QtMessageHandler usual = qInstallMessageHandler(leaveWithoutDisplay);
    argc = std::min(argc, 1); // the rest has been parsed, and Qt would interpret some of it
    QApplication application(argc, argv);
    qInstallMessageHandler(usual);
    useNeutralNumbers();

    ambrel::RunningInstance instance(ambrel::ApplicationBundle::identifier());
    QList<QUrl> urls;
    if (commandLine.file)
        urls << *commandLine.file;
    if (!commandLine.newWindow && instance.handOver({urls, token}))
        return EXIT_SUCCESS;
    ambrel::AmbrelApp app(instance);
    const int status = app.run(commandLine.file);
    deadline.set(kEndTime, status);
    return status;
}
