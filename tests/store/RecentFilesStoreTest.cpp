#include "store/RecentFilesStore.h"

#include <QTemporaryDir>
#include <QTest>

#include "platform/store/Preferences.h"

using namespace ambrel;

class RecentFilesStoreTest : public QObject {
    Q_OBJECT

  private:
    QTemporaryDir folder_;
    Preferences preferences_{folder_.filePath(QStringLiteral("p.sqlite")).toStdString()};
    RecentFilesStore store_{preferences_};

    void push(const QStringList& paths) {
        for (const QString& path : paths)
            store_.push(QUrl::fromLocalFile(path));
    }

    /// One letter a file, in stored order.
    QString stored() const {
        QString letters;
        for (const QUrl& file : store_.all())
            letters += file.toLocalFile().mid(1);
        return letters;
    }

  private Q_SLOTS:
    void cleanup() { store_.clear(); }

    void keepsTheLastTenNewestFirst() {
        for (char letter = 'a'; letter <= 'j'; ++letter)
            push({QStringLiteral("/%1").arg(QLatin1Char(letter))});
        QCOMPARE(stored(), QStringLiteral("jihgfedcba"));
        push({QStringLiteral("/g")});
        QCOMPARE(stored(), QStringLiteral("gjihfedcba"));
        push({QStringLiteral("/k")});
        QCOMPARE(stored(), QStringLiteral("kgjihfedcb"));
        store_.clear();
        QVERIFY(store_.all().isEmpty() && preferences_.keys().isEmpty());
    }

    void pathIsTheEntry() {
        const QString odd = QStringLiteral("/Ünï/100%25 #1? [x]:'\"\n\U0001F3B8.mp3");
        push({odd});
        store_.push(QUrl(QStringLiteral("http://h/a%20b.mp3?q#f")));
        push({QStringLiteral("/a b.mp3")});
        QCOMPARE(*preferences_.strings(QStringLiteral("recentFiles")),
                 QStringList({QStringLiteral("/a b.mp3"), odd}));
        QCOMPARE(store_.all().last(), QUrl::fromLocalFile(odd));
    }

    void whatIsNoListOfTextsReadsAsEmpty() {
        preferences_.set(QStringLiteral("recentFiles"), QStringLiteral("[\"/a\"]"));
        QVERIFY(store_.all().isEmpty());
        push({QStringLiteral("/b")});
        QCOMPARE(stored(), QStringLiteral("b"));
    }
};

QTEST_GUILESS_MAIN(RecentFilesStoreTest)
#include "RecentFilesStoreTest.moc"
