#include "download/sheet/OpenFromURLSheet.h"

#include <QClipboard>
#include <QFile>
#include <QLineEdit>
#include <QPushButton>
#include <QTextEdit>
#include <QTimer>

#include "app/Notifications.h"
#include "support/TestWindow.h"
#include "ui/controls/Spinner.h"
#include "ui/sheets/FolderPanel.h"

using namespace ambrel;

namespace {

const QString kAddress = QStringLiteral("http://a/song.mp3");

/// The window with its sheet open, and a script in the helper's place.
struct Sheet : test::TestWindow {
    explicit Sheet(const QByteArray& script = "exit 1", const QString& clipboard = {}) {
        put(u"my-executable"_qs,
            "#!/bin/sh\nwhile [ ! -e \"${0%/*}/go\" ]; do sleep 0.01; done\n" + script + '\n');
        put(u"ffmpeg"_qs, "#!/bin/sh\n");
        QGuiApplication::clipboard()->setText(clipboard);
        notifications.post(notifications::openFromURL);
    }

    void put(const QString& name, const QByteArray& bytes) const {
        QFile file(helpers.filePath(name));
        if (!file.open(QIODevice::WriteOnly))
            qFatal("no room for a helper");
        file.write(bytes);
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }

    /// The helper waits for this.
    void letGo() const { put(u"go"_qs, {}); }
    void hold() const { QFile::remove(helpers.filePath(u"go"_qs)); }

    OpenFromURLSheet* sheet() const {
        for (auto* open : window.findChildren<OpenFromURLSheet*>())
            if (open->isVisible())
                return open;
        return nullptr;
    }

    template <typename Control> Control* control(const QString& name) const {
        for (auto* candidate : sheet()->findChildren<Control*>())
            if (candidate->accessibleName() == name)
                return candidate;
        return nullptr;
    }
    QLineEdit* address() const { return control<QLineEdit>(u"URL"_qs); }
    QPushButton* button(const QString& name) const { return control<QPushButton>(name); }
    QPushButton* download() const { return button(u"Download & Open"_qs); }

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
    void acceptsWhatIsAnAddress_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("isAccepted");
        QTest::newRow("empty") << QString() << false;
        QTest::newRow("blanks") << u" \t\u00A0\u2003"_qs << false;
        QTest::newRow("http") << kAddress << true;
        QTest::newRow("blanks around") << u"\t \u3000http://a/b \u00A0"_qs << true;
        QTest::newRow("any scheme") << u"ftp://a/b"_qs << true;
        QTest::newRow("no scheme") << u"example.com/song.mp3"_qs << true;
        QTest::newRow("no address") << u"http://[1:2"_qs << false;
        QTest::newRow("option") << u"--exec=reboot"_qs << false;
        QTest::newRow("option after blanks") << u" \u2003-x"_qs << false;
    }
    void acceptsWhatIsAnAddress() {
        QFETCH(QString, text);
        Sheet s;
        s.address()->setText(text);
        QTEST(s.download()->isEnabled(), "isAccepted");
        QTest::keyClick(s.address(), Qt::Key_Return);
        QTEST(s.isDownloading(), "isAccepted");
    }

    void takesAnAddressFromTheClipboard_data() {
        QTest::addColumn<QString>("clipboard");
        QTest::addColumn<QString>("address");
        for (const QString& text : {kAddress, u"HTTPS://example.com/ü?v=1"_qs})
            QTest::newRow(qPrintable(text)) << text << text;
        QTest::newRow("line break behind") << kAddress + u'\n' << kAddress;
        for (const QString& text :
             {u"ftp://a/b"_qs, u"song"_qs, u"http://a/b and more"_qs, QString()})
            QTest::newRow(qPrintable(text)) << text << QString();
    }
    void takesAnAddressFromTheClipboard() {
        QFETCH(QString, clipboard);
        const Sheet s("exit 1", clipboard);
        QTEST(s.address()->text(), "address");
        QCOMPARE(s.address()->selectedText(), s.address()->text());
    }

    void nothingCanBeChangedMeanwhile() {
        Sheet s("echo problem >&2; exit 1");
        s.submit();
        QVERIFY(s.isDownloading());
        int turns = 0;
        QTimer turning;
        connect(&turning, &QTimer::timeout, this, [&] { ++turns; });
        turning.start(0);
        for (const QWidget* input :
             {static_cast<QWidget*>(s.address()), static_cast<QWidget*>(s.download()),
              static_cast<QWidget*>(s.button(u"Change…"_qs)),
              static_cast<QWidget*>(s.button(u"Cancel"_qs))})
            QVERIFY(!input->isEnabled());
        QTest::keyClick(s.sheet(), Qt::Key_Escape);
        QTest::keyClick(s.sheet(), Qt::Key_Return);
        QTRY_VERIFY(turns > 100);
        QVERIFY(s.sheet() && s.isDownloading());
        s.letGo();
        QTRY_VERIFY(!s.isDownloading());
        QVERIFY(s.address()->hasFocus() && s.download()->isEnabled());
        QCOMPARE(s.address()->text(), kAddress);
    }

    void tellsWhatWentWrong() {
        const QString words =
            u"ERROR: <b>“&amp;”</b> "_qs + QString(300, u'x') + u"\nsecond line"_qs;
        Sheet s("printf '%s' \"" + words.toUtf8() + "\" >&2; exit 1");
        const int height = s.sheet()->height();
        s.letGo();
        s.submit();
        QTRY_COMPARE(s.error(), u"Download failed: "_qs + words);
        const auto* text = s.sheet()->findChild<QTextEdit*>();
        QCOMPARE(text->accessibleName(), s.error());
        QVERIFY(text->document()->size().height() <= text->height());
        QVERIFY(text->document()->size().width() <= text->width());
        QVERIFY(s.sheet()->height() >= height + text->height());
        QVERIFY(text->textInteractionFlags() & Qt::TextSelectableByMouse);

        s.hold();
        QTest::keyClick(s.address(), Qt::Key_Return);
        QVERIFY(s.isDownloading());
        QCOMPARE(s.error(), QString());
        QCOMPARE(s.sheet()->height(), height);
    }

    void aLongComplaintStaysOnTheScreen() {
        Sheet s("yes complaint | head -n 5000 >&2; exit 1");
        s.letGo();
        s.submit();
        QTRY_VERIFY(!s.error().isEmpty());
        QVERIFY(s.window.screen()->availableGeometry().contains(s.sheet()->frameGeometry()));
    }

    void opensWhatWasDownloadedWithDefaults() {
        const QUrl file = QUrl::fromLocalFile(qEnvironmentVariable("AMBREL_SOURCE_DIR") +
                                              u"/examples/phrase.flac"_qs);
        Sheet s("echo " + file.toLocalFile().toUtf8());
        FileSettings stored;
        stored.speed = 50;
        s.settings.store().save(stored, file);
        s.graph->addFile(file, 10);
        s.letGo();
        s.submit();
        QTRY_VERIFY(s.state->loadingState().isLoaded());
        QVERIFY(!s.sheet());
        QCOMPARE(s.state->audioFileURL(), std::optional(file));
        QCOMPARE(s.state->speed(), 100.0);
    }

    void escapeAndCancelLeave() {
        Sheet s;
        QTest::keyClick(s.sheet(), Qt::Key_Escape);
        QVERIFY(!s.sheet());
        QTest::mouseClick(s.find(u"Open from URL…"_qs), Qt::LeftButton);
        QVERIFY(s.sheet());
        QTest::mouseClick(s.button(u"Cancel"_qs), Qt::LeftButton);
        QVERIFY(!s.sheet());
        s.showFile();
        QTest::mouseClick(s.find(u"Open from URL..."_qs), Qt::LeftButton);
        const auto* sheet = s.sheet();
        s.notifications.post(notifications::openFromURL);
        QCOMPARE(s.sheet(), sheet);
        QVERIFY(s.address()->text().isEmpty());
    }

    void folderIsRemembered() {
        Sheet s("printf %s \"${10}\" >&2; exit 1");
        QTest::mouseClick(s.button(u"Change…"_qs), Qt::LeftButton);
        auto* panel = s.sheet()->findChild<FolderPanel*>();
        QVERIFY(panel);
        const QUrl chosen = QUrl::fromLocalFile(s.helpers.path());
        Q_EMIT panel->folderChosen(chosen);
        panel->close();
        QCOMPARE(s.settings.downloads().downloadDirectory(), chosen);
        QVERIFY(s.find(s.helpers.path()));
        s.letGo();
        s.submit();
        QTRY_COMPARE(s.error(), u"Download failed: %1/%(title)s.%(ext)s"_qs.arg(s.helpers.path()));
    }

    void closingTheWindowEndsTheProgramMeanwhile() {
        Sheet s;
        s.submit();
        QVERIFY(s.isDownloading());
        QTimer::singleShot(0, &s.window, &QWidget::close);
        QTimer::singleShot(5000, &s.window, [] { QApplication::exit(1); });
        QCOMPARE(QApplication::exec(), 0);
    }
};

QTEST_MAIN(OpenFromURLSheetWindowTest)
#include "OpenFromURLSheetWindowTest.moc"
