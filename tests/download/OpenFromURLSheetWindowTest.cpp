#include "download/sheet/OpenFromURLSheet.h"

#include <QClipboard>
#include <QFile>
#include <QLineEdit>
#include <QTextEdit>

#include "app/Notifications.h"
#include "support/TestWindow.h"
#include "ui/look/Spinner.h"
#include "ui/sheets/FolderPanel.h"

using namespace ambrel;

namespace {

const QString kAddress = QStringLiteral("http://a/song.mp3");

/// The window with its sheet open, and a script in the helper's place.
struct Sheet : test::TestWindow {
    explicit Sheet(const QByteArray& script = "exit 1", const QString& clipboard = {}) {
        put(u"my-executable"_qs, "#!/bin/sh\n" + script + '\n');
        put(u"ffmpeg"_qs, {});
        QGuiApplication::clipboard()->setText(clipboard);
        notifications.post(notifications::openFromURL);
    }

    void put(const QString& name, const QByteArray& bytes) const {
        QFile file(helpers.filePath(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }

    OpenFromURLSheet* sheet() const {
        for (auto* open : window.findChildren<OpenFromURLSheet*>())
            if (open->isVisible())
                return open;
        return nullptr;
    }

    QLineEdit* address() const { return sheet()->findChild<QLineEdit*>(); }
    bool isDownloading() const { return sheet()->findChild<Spinner*>()->isVisible(); }
    QString error() const {
        const auto* text = sheet()->findChild<QTextEdit*>();
        return text->isVisible() ? text->toPlainText() : QString();
    }

    /// Return in the address field.
    void submit(const QString& text = kAddress) const {
        address()->setText(text);
        QTest::keyClick(address(), Qt::Key_Return);
    }
};

} // namespace

class OpenFromURLSheetWindowTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void acceptsWhatIsAnAddress() {
        const std::pair<QString, bool> rows[] = {
            {u" \t\u00A0\u2003"_qs, false}, {u"\t \u3000http://a/b \u00A0"_qs, true},
            {u"ftp://a/b"_qs, true},        {u"example.com/song.mp3"_qs, true},
            {u"http://[1:2"_qs, false},     {u"--exec=reboot"_qs, false},
            {u" \u2003-x"_qs, false},
        };
        for (const auto& [text, isAccepted] : rows) {
            Sheet s;
            s.address()->setText(text);
            QCOMPARE(s.find(u"Download & Open"_qs)->isEnabled(), isAccepted);
            QTest::keyClick(s.address(), Qt::Key_Return);
            QCOMPARE(s.isDownloading(), isAccepted);
        }
    }

    void takesAnAddressFromTheClipboard() {
        const std::pair<QString, QString> rows[] = {
            {u"HTTPS://example.com/ü?v=1\n"_qs, u"HTTPS://example.com/ü?v=1"_qs},
            {kAddress, kAddress},
            {u"ftp://a/b"_qs, {}},
            {u"http://a/b and more"_qs, {}},
        };
        for (const auto& [clipboard, address] : rows) {
            const Sheet s("exit 1", clipboard);
            QCOMPARE(s.address()->text(), address);
            QCOMPARE(s.address()->selectedText(), address);
        }
    }

    void folderIsRemembered() {
        Sheet s("printf %s \"${10}\" >&2; exit 1");
        QTest::mouseClick(s.find(u"Change…"_qs), Qt::LeftButton);
        const QUrl chosen = QUrl::fromLocalFile(s.helpers.path());
        auto* panel = s.sheet()->findChild<FolderPanel*>();
        Q_EMIT panel->folderChosen(chosen);
        panel->close();
        QCOMPARE(s.settings.downloads().downloadDirectory(), chosen);
        QVERIFY(s.find(s.helpers.path()));
        s.submit();
        QTRY_COMPARE(s.error(), u"Download failed: %1/%(title)s.%(ext)s"_qs.arg(s.helpers.path()));
    }
};

QTEST_MAIN(OpenFromURLSheetWindowTest)
#include "OpenFromURLSheetWindowTest.moc"
