#include "platform/desktop/RecentDocuments.h"

#include <algorithm>
#include <optional>
#include <vector>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QMimeDatabase>
#include <QRegularExpression>
#include <QSaveFile>
#include <QSettings>
#include <QStandardPaths>
#include <QXmlStreamReader>

namespace ambrel {
namespace {

constexpr qint64 kLargestList = 8 << 20; // bytes
constexpr std::size_t kMostOwn = 100;
constexpr int kMostTries = 3;
constexpr int kPatienceMs = 1000;

const QString kEmptyList = QStringLiteral(
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<xbel version=\"1.0\"\n"
    "      xmlns:bookmark=\"http://www.freedesktop.org/standards/desktop-bookmarks\"\n"
    "      xmlns:mime=\"http://www.freedesktop.org/standards/shared-mime-info\"\n"
    ">\n</xbel>\n");

/// Places in the text.
struct Range {
    qsizetype begin = 0;
    qsizetype end = 0;
};

struct Bookmark {
    QUrl document = {};
    QString modified = {};
    Range startTag = {};
    qsizetype end = 0;
    int programs = 0;          ///< that have opened it
    Range ours = {};           ///< this program's element; empty if it has not
    int count = 0;             ///< how often it has
    qsizetype programsEnd = 0; ///< where an element can be added; 0 if nowhere
};

struct Entry {
    QUrl document;
    QString program;
    QString command;
    QString now = QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs);

    QString element(int count) const {
        return QStringLiteral("<bookmark:application name=\"%1\" exec=\"&apos;%2 %u&apos;\" "
                              "modified=\"%3\" count=\"%4\"/>")
            .arg(program.toHtmlEscaped(), command.toHtmlEscaped(), now, QString::number(count));
    }

    QString bookmark() const {
        const QString type = QMimeDatabase().mimeTypeForFile(document.toLocalFile()).name();
        return QStringLiteral(
                   "  <bookmark href=\"%1\" added=\"%2\" modified=\"%2\" visited=\"%2\">\n"
                   "    <info>\n"
                   "      <metadata owner=\"http://freedesktop.org\">\n"
                   "        <mime:mime-type type=\"%3\"/>\n"
                   "        <bookmark:applications>\n"
                   "          %4\n"
                   "        </bookmark:applications>\n"
                   "      </metadata>\n"
                   "    </info>\n"
                   "  </bookmark>\n")
            .arg(document.toString(QUrl::FullyEncoded).toHtmlEscaped(), now, type, element(1));
    }
};

/// A list, with the places in it that may be changed.
class List {
  public:
    List(const QString& text, const QString& program) : text_(text), program_(program) {
        QXmlStreamReader xml(text_);
        for (Range token; !xml.atEnd();) {
            token.begin = token.end;
            xml.readNext();
            token.end = endOf(xml);
            if (xml.isStartElement())
                enter(xml, token);
            else if (xml.isEndElement())
                leave(xml, token);
        }
        isSound_ = !xml.hasError() && prefixes_ == 2 && end_ > 0;
    }

    bool isSound() const { return isSound_; }

    QString with(const Entry& entry) const {
        std::vector<Edit> edits = forgetting(entry.document);
        const auto known = std::ranges::find(bookmarks_, entry.document, &Bookmark::document);
        if (known == bookmarks_.end()) {
            edits.push_back({{end_, end_}, entry.bookmark()});
        } else {
            edits.push_back({known->startTag, dated(known->startTag, entry.now)});
            if (known->ours.end > 0)
                edits.push_back({known->ours, entry.element(known->count + 1)});
            else if (known->programsEnd > 0)
                edits.push_back({{known->programsEnd, known->programsEnd}, entry.element(1)});
        }
        QString result = text_;
        std::ranges::sort(edits, std::greater(), [](const Edit& edit) { return edit.at.begin; });
        for (const auto& [at, text] : edits) // from the end, so that the other places stay true
            result.replace(at.begin, at.end - at.begin, text);
        return result;
    }

  private:
    struct Edit {
        Range at;
        QString text;
    };

    /// Where the token ends: to find the end of a text, one character more has been read.
    qsizetype endOf(const QXmlStreamReader& xml) const {
        const qsizetype end = std::min(qsizetype(xml.characterOffset()), text_.size());
        return xml.isCharacters() && end > 0 && text_[end - 1] == u'<' ? end - 1 : end;
    }

    void enter(const QXmlStreamReader& xml, Range tag) {
        const auto attribute = [attributes = xml.attributes()](const char* name) {
            return attributes.value(QLatin1String(name)).toString();
        };
        const auto name = xml.qualifiedName();
        ++depth_;
        if (depth_ == 1 && name == u"xbel") {
            prefixes_ = int(std::ranges::count_if(xml.namespaceDeclarations(), [](auto& declared) {
                return declared.prefix() == u"bookmark" || declared.prefix() == u"mime";
            }));
        } else if (depth_ == 2) {
            isInBookmark_ = name == u"bookmark";
            if (isInBookmark_)
                bookmarks_.push_back({.document = QUrl(attribute("href")),
                                      .modified = attribute("modified"),
                                      .startTag = tag});
        } else if (isInBookmark_ && name == u"bookmark:application") {
            Bookmark& bookmark = bookmarks_.back();
            ++bookmark.programs;
            if (attribute("name") == program_) {
                bookmark.ours.begin = tag.begin;
                bookmark.count = attribute("count").toInt();
            }
        }
    }

    void leave(const QXmlStreamReader& xml, Range tag) {
        const auto name = xml.qualifiedName();
        if (depth_ == 1 && tag.begin < tag.end)
            end_ = tag.begin;
        if (isInBookmark_) {
            Bookmark& bookmark = bookmarks_.back();
            if (depth_ == 2)
                bookmark.end = tag.end;
            else if (name == u"bookmark:applications" && tag.begin < tag.end)
                bookmark.programsEnd = tag.begin;
            else if (name == u"bookmark:application" && bookmark.ours.begin > 0 &&
                     bookmark.ours.end == 0)
                bookmark.ours.end = tag.end;
        }
        --depth_;
    }

    QString dated(Range startTag, const QString& now) const {
        static const QRegularExpression dates(
            QStringLiteral("(\\s(?:modified|visited)\\s*=\\s*)(\"[^\"]*\"|'[^']*')"));
        return text_.sliced(startTag.begin, startTag.end - startTag.begin)
            .replace(dates, QStringLiteral("\\1\"%1\"").arg(now));
    }

    /// Removes the oldest of those that only this program has opened, if they are too many.
    std::vector<Edit> forgetting(const QUrl& exceptFor) const {
        std::vector<const Bookmark*> own;
        for (const Bookmark& bookmark : bookmarks_) {
            if (bookmark.ours.end > 0 && bookmark.programs == 1 && bookmark.document != exceptFor)
                own.push_back(&bookmark);
        }
        std::ranges::stable_sort(own, std::less(), &Bookmark::modified);
        std::vector<Edit> edits;
        for (std::size_t i = 0; i + kMostOwn - 1 < own.size(); ++i)
            edits.push_back({{own[i]->startTag.begin, own[i]->end}, {}});
        return edits;
    }

    const QString& text_;
    const QString& program_;
    std::vector<Bookmark> bookmarks_;
    qsizetype end_ = 0; ///< where a bookmark can be added; 0 if nowhere
    int prefixes_ = 0;  ///< of those that entries need
    int depth_ = 0;
    bool isInBookmark_ = false;
    bool isSound_ = false;
};

/// Absent if the list is to be left alone.
std::optional<QByteArray> contentsOf(const QString& path) {
    const QFileInfo info(path);
    if (!info.exists() && !info.isSymLink())
        return QByteArray();
    QFile file(path);
    if (info.isSymLink() || !info.isFile() || !info.isWritable() || info.size() > kLargestList ||
        !file.open(QFile::ReadOnly))
        return {};
    return file.read(kLargestList);
}

/// Empty if they cannot be added to.
QByteArray added(const QByteArray& contents, const Entry& entry) {
    const QString text = contents.isEmpty() ? kEmptyList : QString::fromUtf8(contents);
    const List list(text, entry.program);
    const bool isUTF8 = contents.isEmpty() || text.toUtf8() == contents;
    return isUTF8 && list.isSound() ? list.with(entry).toUtf8() : QByteArray();
}

} // namespace

QString RecentDocuments::defaultPath() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
           QStringLiteral("/recently-used.xbel");
}

bool RecentDocuments::areWanted() {
    const QString settings =
        QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    const QSettings kde(settings + QStringLiteral("/kdeglobals"), QSettings::IniFormat);
    if (!kde.value(QStringLiteral("RecentDocuments/UseRecent"), true).toBool())
        return false;
    auto question = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.portal.Desktop"),
        QStringLiteral("/org/freedesktop/portal/desktop"),
        QStringLiteral("org.freedesktop.portal.Settings"), QStringLiteral("Read"));
    question << QStringLiteral("org.gnome.desktop.privacy")
             << QStringLiteral("remember-recent-files");
    question.setAutoStartService(false);
    const QDBusMessage answer =
        QDBusConnection::sessionBus().call(question, QDBus::Block, kPatienceMs);
    QVariant value = answer.arguments().value(0);
    while (value.metaType() == QMetaType::fromType<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    return answer.type() != QDBusMessage::ReplyMessage || value != QVariant(false);
}

void RecentDocuments::add(const QUrl& document, const QString& program, const QString& command,
                          const QString& list) {
    for (int tries = 0; tries < kMostTries; ++tries) {
        const auto before = contentsOf(list);
        const QByteArray after =
            before ? added(*before, {document, program, command}) : QByteArray();
        if (after.isEmpty())
            return;
        QDir().mkpath(QFileInfo(list).path());
        QSaveFile file(list); // keeps the permissions of the one it takes the place of
        // Qt would put in place also what did not reach the disk from its buffer.
        if (!file.open(QFile::WriteOnly) || file.write(after) != after.size() || !file.flush())
            return;
        if (before->isEmpty()) // none of anybody else's business
            file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
        if (contentsOf(list) == before) {
            file.commit();
            return;
        }
    }
}

} // namespace ambrel
