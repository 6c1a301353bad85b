#include "app/CommandLine.h"

#include <QCommandLineParser>
#include <QDir>

namespace ambrel {
namespace {

const QString kHelp = QStringLiteral("Usage: ambrel [--new-window] [FILE]\n"
                                     "Practise with a recording: mark a region of it and play it.\n"
                                     "\n"
                                     "  FILE           a path or a file: address to open at once\n"
                                     "  --new-window   open it here, even if Ambrel already runs\n"
                                     "  -h, --help     show this help and exit\n"
                                     "  -v, --version  show the version and exit\n");

QUrl fileURL(const QString& argument, const QString& folder) {
    if (argument.startsWith(QLatin1String("file:"), Qt::CaseInsensitive)) {
        QUrl url(argument);
        if (url.path().startsWith(QLatin1Char('/')))
            return url;
    }
    // Not by QDir, to which a path that begins with a colon is absolute: the program's own
    // resource.
    const bool isAbsolute = argument.startsWith(QLatin1Char('/'));
    return QUrl::fromLocalFile(
        QDir::cleanPath(isAbsolute ? argument : folder + QLatin1Char('/') + argument));
}

} // namespace

CommandLine CommandLine::parse(const QStringList& arguments, const QString& folder) {
    const QCommandLineOption help(QStringList{QStringLiteral("h"), QStringLiteral("help")});
    const QCommandLineOption version(QStringList{QStringLiteral("v"), QStringLiteral("version")});
    const QCommandLineOption newWindow(QStringLiteral("new-window"));
    QCommandLineParser parser;
    parser.addOption(help);
    parser.addOption(version);
    parser.addOption(newWindow);

    CommandLine result;
    if (!parser.parse(arguments)) {
        const QStringList unknown = parser.unknownOptionNames();
        result.error = unknown.isEmpty()
                           ? parser.errorText()
                           : QStringLiteral("The option “%1” is not known.").arg(unknown.first());
        return result;
    }
    result.newWindow = parser.isSet(newWindow);
    const QStringList files = parser.positionalArguments();
    if (parser.isSet(help))
        result.answer = kHelp;
    else if (parser.isSet(version))
        result.answer = QStringLiteral("ambrel " AMBREL_VERSION "\n");
    else if (files.size() > 1)
        result.error = QStringLiteral("Only one file can be opened.");
    else if (!files.isEmpty() && files.first().isEmpty())
        result.error = QStringLiteral("The name of the file is empty.");
    else if (!files.isEmpty())
        result.file = fileURL(files.first(), folder);
    return result;
}

} // namespace ambrel
