#include <QTemporaryDir>

#include "Targets.h"
#include "app/CommandLine.h"
#include "audio/LocalPath.h"
#include "download/DownloadError.h"
#include "download/URLDownloader.h"
#include "platform/sound/AudioFile.h"

namespace ambrel::fuzz {
namespace {

/// A folder with what the downloader wants to find beside the program.
const QString& helpers() {
    static const QTemporaryDir folder;
    static const QString path = [] {
        for (const auto* name : {"my-executable", "ffmpeg"}) {
            QFile file(folder.filePath(QString::fromLatin1(name)));
            promise(file.open(QIODevice::WriteOnly) && file.setPermissions(QFile::ExeOwner),
                    "the helpers can be made");
        }
        return folder.path();
    }();
    return path;
}

void ask(const QString& address) {
    try {
        const auto command = URLDownloader::command(
            helpers(), QUrl(address), QUrl::fromLocalFile(QStringLiteral("/downloads/")));
        const std::string& last = command.arguments.back();
        promise(!last.empty() && last.front() != '-', "no address is an option");
        promise(last.find('\0') == std::string::npos && last.find('\n') == std::string::npos,
                "an address is one argument");
    } catch (const DownloadError& error) {
        promise(*error.what() != 0, "an error says something");
    }
}

void answer(const std::string& text, int exitStatus) {
    try {
        const QUrl file = URLDownloader::reportedFile({false, exitStatus, 0, text, text});
        promise(file.isLocalFile(), "a download is a file");
        promise(localPath(localFile(file)).is_absolute(), "its path is absolute");
    } catch (const DownloadError& error) {
        promise(*error.what() != 0, "an error says something");
    } catch (const AudioFileError& error) {
        promise(*error.what() != 0, "an error says something");
    }
}

} // namespace

void addresses(Bytes bytes) {
    const std::string raw(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    const QString text = QString::fromUtf8(raw);
    ask(text);
    answer(raw, 0);
    answer(raw, 1);
    const auto parsed = CommandLine::parse({QStringLiteral("ambrel"), text}, QStringLiteral("/"));
    promise(!parsed.file || localFile(*parsed.file).path().startsWith(u'/'),
            "what is opened from there is a file");
}

} // namespace ambrel::fuzz
