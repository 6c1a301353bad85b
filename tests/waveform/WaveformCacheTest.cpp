#include "waveform/WaveformCache.h"

#include <cmath>
#include <filesystem>
#include <limits>
#include <thread>

#include <QTemporaryDir>
#include <QTest>

#include "platform/store/Preferences.h"
#include "waveform/WaveformCacheEntry.h"

using namespace ambrel;
using namespace std::chrono_literals;
using Peaks = std::vector<float>;
using Value = Preferences::Value;

namespace {

const Peaks kPeaks = {0, 0.25F, 1, std::numeric_limits<float>::denorm_min()};
constexpr double kDay = 86400;

double today() {
    return WaveformCacheEntry::dateOf(std::chrono::system_clock::now());
}

} // namespace

class WaveformCacheTest : public QObject {
    Q_OBJECT

  private:
    std::unique_ptr<QTemporaryDir> folder_;
    std::unique_ptr<Preferences> preferences_;
    std::unique_ptr<WaveformCache> cache_;
    const double start_ = today();

    void restart() { cache_ = std::make_unique<WaveformCache>(*preferences_); }

    std::filesystem::path pathOf(const QString& name) const {
        return folder_->filePath(name).toStdString();
    }

    QUrl fileNamed(const QString& name, const QByteArray& content = "content") const {
        QFile file(folder_->filePath(name));
        if (!file.open(QFile::WriteOnly) || file.write(content) != content.size())
            qFatal("no file to cache");
        return QUrl::fromLocalFile(file.fileName());
    }

    QString keyOf(const QString& name) const {
        return QStringLiteral("waveformCache.") + folder_->filePath(name);
    }

    WaveformCacheEntry entryOf(const QString& name) const {
        const auto json = preferences_->data(keyOf(name));
        return WaveformCacheEntry::decoded(json.value_or(QByteArray())).value();
    }

    /// A record of `count` peaks, used `age` seconds ago, of a file that need not be there.
    void putRecord(const QString& name, std::size_t count, double age) {
        const WaveformCacheEntry entry{QByteArray(qsizetype(count * 4), 0), 7, 0, start_ - age};
        preferences_->set(keyOf(name), *entry.encoded());
    }

    /// The names of what is in the cache, in the order of their bytes.
    QString kept() const {
        QStringList names;
        for (const QString& key : cache_->entryKeys())
            names << key.section(QChar(u'/'), -1);
        return names.join(QChar(u' '));
    }

  private Q_SLOTS:
    void init() {
        folder_ = std::make_unique<QTemporaryDir>();
        preferences_ = std::make_unique<Preferences>(pathOf(QStringLiteral("p.sqlite")));
        restart();
    }

    void cleanup() {
        cache_.reset();
        preferences_.reset();
    }

    void recordHasItsStoredForm() {
        // Both signs of base64's alphabet that are not letters or digits, and padding.
        const WaveformCacheEntry entry{QByteArray::fromHex("fbf0fffefb"), 1LL << 40, 752112000.0625,
                                       1e-7};
        const QByteArray json = R"({"samplesData":"+\/D\/\/vs=","fileSize":1099511627776,)"
                                R"("modDate":752112000.0625,"lastAccessed":0.0000001})";
        QCOMPARE(*entry.encoded(), json);
        QVERIFY(WaveformCacheEntry::decoded(json) == entry);
        WaveformCacheEntry dates{{}, 0, 0.1 + 0.2, 1e22};
        QVERIFY(dates.encoded()->endsWith(
            R"("modDate":0.30000000000000004,"lastAccessed":10000000000000000000000})"));
        for (const double date :
             {-0x1.fffffffffffffp1023, 5e-324, 752112000.0 + 1e-7, -978307200.}) {
            dates.modDate = date;
            QVERIFY(WaveformCacheEntry::decoded(*dates.encoded()) == dates);
        }
        dates.modDate = std::nan("");
        QVERIFY(!dates.encoded());
    }

    void recordsOfOthersAreReadOrMissed_data() {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<bool>("isRecord");
        const QByteArray plain =
            R"({"samplesData":"AACAPw==","fileSize":7,"modDate":1,"lastAccessed":2})";
        const auto with = [&](const char* before, const QByteArray& after) {
            return QByteArray(plain).replace(before, after);
        };
        const auto record = [](const char* name, const QByteArray& json) {
            QTest::newRow(name) << json << true;
        };
        const auto miss = [](const char* name, const QByteArray& json) {
            QTest::newRow(name) << json << false;
        };
        record("other order, white space, floats, escapes, more",
               "{ \"lastAccessed\":2e0,\n\"x\":{},\"modDate\":-1.5, \"fileSize\":7.0,"
               R"("samplesData":"\u0041ACA\/w=="})");
        record("slash not escaped", with("AACAPw", "AACA/w"));
        record("dates beyond every calendar", with("1,", "1e300,").replace("2}", "-1e308}"));
        record("member twice", with("{", R"({"fileSize":1,)"));
        record("no samples", with("AACAPw==", ""));
        record("huge", with("AACAPw==", QByteArray("AAAA").repeated(1'000'000)));
        miss("cut", plain.chopped(1));
        miss("text for a number", with("7", R"("7")"));
        miss("size with a fraction", with("7", "7.5"));
        miss("size beyond 64 bits", with("7", "1e19"));
        miss("number for the samples", with(R"("AACAPw==")", "5"));
        miss("infinite date", with("2}", "1e999}"));
        miss("member missing", with(R"(,"lastAccessed":2)", ""));
        miss("base64 cut short", with("AACAPw==", "AACAP"));
        miss("base64 without padding", with("AACAPw==", "AACAPw"));
        miss("base64 with a line break", with("AACA", R"(AACA\n)"));
        miss("base64 of web addresses", with("AACAPw==", "AA-_"));
        miss("beyond ASCII", with("AACA", "AACÄ"));
        miss("array", "[" + plain + "]");
        miss("deep", QByteArray("[").repeated(1'000'000));
        miss("deep member", with("{", R"({"x":)" + QByteArray(R"({"x":)").repeated(100'000)));
        miss("nothing", "");
        miss("no text", QByteArray("\xff\x00\xfe", 3));
    }

    void recordsOfOthersAreReadOrMissed() {
        QFETCH(QByteArray, json);
        QFETCH(bool, isRecord);
        QCOMPARE(WaveformCacheEntry::decoded(json).has_value(), isRecord);
        const QUrl file = fileNamed(QStringLiteral("a.mp3"));
        const QString key = keyOf(QStringLiteral("a.mp3"));
        preferences_->set(key, json);
        QVERIFY(!cache_->get(file));
        QVERIFY2(preferences_->value(key).has_value() != isRecord,
                 "a record that does not match goes, what is no record stays");
        preferences_->set(key, json);
        cache_->set(Peaks(), fileNamed(QStringLiteral("b.mp3")));
        QVERIFY2(preferences_->value(key).has_value() != isRecord, "old, as far as it is one");
    }

    void whatWasSetComesBackAndCountsAsUsed() {
        const QString name = QStringLiteral("Ünï 100%25 #1? \U0001F3B8.mp3");
        const QUrl file = fileNamed(name, "12345");
        QVERIFY(!cache_->get(file));
        cache_->set(kPeaks, file);
        auto entry = entryOf(name);
        QCOMPARE(entry.samplesData.toHex(), QByteArray("000000000000803e0000803f01000000"));
        QCOMPARE(entry.fileSize, std::int64_t(5));
        QVERIFY(std::abs(entry.modDate - today()) < 10 &&
                entry.modDate != std::trunc(entry.modDate));
        entry.lastAccessed = 0;
        entry.samplesData += "rst"; // less than a peak
        preferences_->set(keyOf(name), *entry.encoded());
        QVERIFY(cache_->get(file) == kPeaks);
        QVERIFY(std::abs(entryOf(name).lastAccessed - today()) < 10);
        QCOMPARE(cache_->entryKeys(), QStringList(keyOf(name)));

        cache_->set(Peaks(), file);
        QVERIFY(cache_->get(file) == Peaks());
    }

    void recordOfAnotherStateOfTheFileGoes_data() {
        QTest::addColumn<int>("milliseconds"); ///< that the file's date moves by
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<bool>("isHit");
        QTest::newRow("half a second") << 500 << QByteArray("same") << true;
        QTest::newRow("two seconds back") << -2000 << QByteArray("same") << false;
        QTest::newRow("two seconds") << 2000 << QByteArray("same") << false;
        QTest::newRow("other size") << 0 << QByteArray("longer") << false;
        QTest::newRow("gone") << 0 << QByteArray() << false;
    }

    void recordOfAnotherStateOfTheFileGoes() {
        QFETCH(int, milliseconds);
        QFETCH(QByteArray, content);
        QFETCH(bool, isHit);
        const QString name = QStringLiteral("a.mp3");
        const QUrl file = fileNamed(name, "same");
        const auto date = std::filesystem::last_write_time(pathOf(name));
        cache_->set(kPeaks, file);
        fileNamed(name, content);
        std::filesystem::last_write_time(pathOf(name), date + milliseconds * 1ms);
        if (content.isEmpty())
            std::filesystem::remove(pathOf(name));
        QCOMPARE(cache_->get(file).has_value(), isHit);
        QCOMPARE(cache_->entryKeys().size(), isHit ? 1 : 0);
    }

    void whatCannotBeExaminedIsNotCached() {
        putRecord(QStringLiteral("old"), 1, 365 * kDay);
        for (const QUrl& file : {QUrl::fromLocalFile(folder_->filePath(QStringLiteral("missing"))),
                                 QUrl(QStringLiteral("http://host/a.mp3")), QUrl(),
                                 QUrl::fromLocalFile(folder_->path())}) {
            cache_->set(kPeaks, file);
            QVERIFY(!cache_->get(file));
        }
        QCOMPARE(kept(), QStringLiteral("old"));
    }

    void oldestGoBeyondTheSizeLimit() {
        cache_->setMaxTotalBytes(1048576);
        const QUrl newest = fileNamed(QStringLiteral("new"));
        for (int i = 0; i < 131; ++i) // two of the same moment: the first of them goes first
            putRecord(QStringLiteral("%1").arg(i, 3, 10, QChar(u'0')), 2000,
                      i == 7 ? 900 : 900 - i);
        preferences_->set(keyOf(QStringLiteral("damaged")), QByteArray(2'000'000, 'x'));
        cache_->set(Peaks(2000), newest);
        QCOMPARE(cache_->entryKeys().size(), 132);
        QVERIFY(!kept().contains(QStringLiteral("000 ")));
        // What another program writes is seen: 001 is used, 002 grows by 2,000 peaks.
        putRecord(QStringLiteral("001"), 2000, 0);
        putRecord(QStringLiteral("002"), 4000, 898);
        cache_->set(Peaks(1), newest);
        QVERIFY(kept().startsWith(QStringLiteral("001 002 003")));
        cache_->set(Peaks(2000), newest);
        QVERIFY(kept().startsWith(QStringLiteral("001 002 003 004 005 006 008")));
        cache_->set(Peaks(2000), newest);
        QVERIFY(kept().startsWith(QStringLiteral("001 002 003 004 005 006 008")));
    }

    void unusedGoBeyondTheAgeLimit() {
        const QUrl file = fileNamed(QStringLiteral("new"));
        putRecord(QStringLiteral("179"), 1, 179.9 * kDay);
        putRecord(QStringLiteral("180"), 1, 180.1 * kDay);
        cache_->set(kPeaks, file);
        QCOMPARE(kept(), QStringLiteral("179 new"));
        cache_->setMaxAgeSeconds({});
        putRecord(QStringLiteral("180"), 1, 180.1 * kDay);
        cache_->set(kPeaks, file);
        QCOMPARE(kept(), QStringLiteral("179 180 new"));
    }

    void clearingAndCountingTakeWhatBearsThePrefix() {
        cache_->set(kPeaks, fileNamed(QStringLiteral("a")));
        const auto size = preferences_->data(keyOf(QStringLiteral("a")))->size();
        preferences_->set(keyOf(QStringLiteral("damaged")), QByteArray("ü"));
        preferences_->set(keyOf(QStringLiteral("text")), QStringLiteral("no data"));
        QCOMPARE(cache_->totalBytes(), size + 2);
        QCOMPARE(cache_->entryKeys().size(), 3);
        cache_->clearAll();
        QCOMPARE(cache_->totalBytes(), 0);
        QCOMPARE(preferences_->keys().size(), 4); // the limits
    }

    void limitsAreStored() {
        const auto stored = [this](const char* key) {
            return preferences_->value(QStringLiteral("waveformCacheSettings.") +
                                       QLatin1String(key));
        };
        QVERIFY(stored("hasMaxAge") == Value(true) && stored("hasMaxSize") == Value(true));
        QVERIFY(stored("maxAge") == Value(15552000.0));
        QVERIFY(stored("maxSize") == Value(std::int64_t(104857600)));
        cache_->setMaxAgeSeconds(1.5);
        cache_->setMaxTotalBytes({});
        QVERIFY(stored("maxAge") == Value(1.5));
        QVERIFY(stored("maxSize") == Value(std::int64_t(0)));
        restart();
        QCOMPARE(cache_->maxAgeSeconds(), std::optional(1.5));
        QVERIFY(!cache_->maxTotalBytes());
        cache_->setMaxAgeSeconds({});
        QVERIFY(stored("maxAge") == Value(std::int64_t(0)));
        preferences_->set(QStringLiteral("waveformCacheSettings.maxSize"), -5.0);
        restart();
        QVERIFY(!cache_->maxAgeSeconds() && !cache_->maxTotalBytes());
        preferences_->set(QStringLiteral("waveformCacheSettings.hasMaxSize"), false);
        restart();
        QCOMPARE(cache_->maxTotalBytes(), std::optional<std::int64_t>(104857600));
    }

    void threadsShareTheCache() {
        std::vector<std::jthread> threads;
        std::atomic<int> hits = 0;
        for (int t = 0; t < 3; ++t) {
            threads.emplace_back([&, file = fileNamed(QString::number(t))] {
                for (int i = 0; i < 20; ++i) {
                    cache_->set(kPeaks, file);
                    hits += cache_->get(file) == kPeaks;
                }
            });
        }
        for (std::int64_t i = 1; i < 100; ++i) {
            cache_->setMaxTotalBytes(i * 1048576);
            cache_->setMaxAgeSeconds(double(i) * kDay);
        }
        threads.clear();
        QCOMPARE(hits.load(), 60);
    }
};

QTEST_GUILESS_MAIN(WaveformCacheTest)
#include "WaveformCacheTest.moc"
