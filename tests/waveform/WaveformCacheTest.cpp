#include <cmath>
#include <filesystem>
#include <limits>

#include <QTest>

#include "support/TemporarySettings.h"
#include "waveform/WaveformCacheEntry.h"

using namespace ambrel;
using namespace std::chrono_literals;
using Peaks = std::vector<float>;

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
    std::optional<QTemporaryDir> folder_;
    std::optional<test::TemporarySettings> settings_;
    Preferences* preferences_ = nullptr;
    WaveformCache* cache_ = nullptr;
    const double start_ = today();

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
        folder_.emplace();
        preferences_ = &settings_.emplace().preferences();
        cache_ = &settings_->waveformCache();
    }

    void recordHasItsStoredForm() {
        // Both signs of base64's alphabet that are not letters or digits, and padding.
        WaveformCacheEntry entry{QByteArray::fromHex("fbf0fffefb"), 1LL << 40, 752112000.0625,
                                 1e-7};
        QCOMPARE(*entry.encoded(),
                 QByteArray(R"({"samplesData":"+\/D\/\/vs=","fileSize":1099511627776,)"
                            R"("modDate":752112000.0625,"lastAccessed":0.0000001})"));
        for (const double date : {-0x1.fffffffffffffp1023, 5e-324, 752112000.0 + 1e-7, 1e22}) {
            entry.modDate = date;
            QVERIFY(WaveformCacheEntry::decoded(*entry.encoded()) == entry);
        }
        entry.modDate = std::nan("");
        QVERIFY(!entry.encoded());
    }

    void recordsOfOthersAreReadOrMissed() {
        struct Case {
            bool isRecord;
            QByteArray json;
        };
        const QByteArray plain =
            R"({"samplesData":"AACAPw==","fileSize":7,"modDate":1,"lastAccessed":2})";
        const auto with = [&](const char* before, const QByteArray& after) {
            return QByteArray(plain).replace(before, after);
        };
        const QUrl file = fileNamed(u"a.mp3"_qs);
        const QUrl other = fileNamed(u"b.mp3"_qs);
        const QString key = keyOf(u"a.mp3"_qs);
        for (const auto& [isRecord, json] : std::initializer_list<Case>{
                 {true, "{ \"lastAccessed\":2e0,\n\"x\":{},\"modDate\":-1.5, \"fileSize\":7.0,"
                        R"("samplesData":"\u0041ACA\/w=="})"},
                 {true, with("AACAPw==", QByteArray("AAAA").repeated(1'000'000))},
                 {false, plain.chopped(1)},
                 {false, with("2}", "1e999}")},
                 {false, with("AACAPw==", "AACAPw")},
                 {false, with("{", R"({"x":)" + QByteArray(R"({"x":)").repeated(100'000))},
                 {false, QByteArray("\xff\x00\xfe", 3)}}) {
            QVERIFY2(WaveformCacheEntry::decoded(json).has_value() == isRecord, json.left(200));
            preferences_->set(key, json);
            QVERIFY(!cache_->get(file));
            QVERIFY2(preferences_->value(key).has_value() != isRecord,
                     "a record that does not match goes, what is no record stays");
            preferences_->set(key, json);
            cache_->set(Peaks(), other);
            QVERIFY2(preferences_->value(key).has_value() != isRecord, "old, as far as it is one");
        }
    }

    void whatWasSetComesBackAndCountsAsUsed() {
        const QString name = u"Ünï 100%25 #1? \U0001F3B8.mp3"_qs;
        const QUrl file = fileNamed(name);
        cache_->set(kPeaks, file);
        const auto entryNow = [&] {
            return WaveformCacheEntry::decoded(*preferences_->data(keyOf(name))).value();
        };
        auto entry = entryNow();
        QCOMPARE(entry.samplesData.toHex(), QByteArray("000000000000803e0000803f01000000"));
        entry.lastAccessed = 0;
        entry.samplesData += "rst"; // less than a peak
        preferences_->set(keyOf(name), *entry.encoded());
        QVERIFY(cache_->get(file) == kPeaks);
        QVERIFY(std::abs(entryNow().lastAccessed - today()) < 10);
        cache_->set(Peaks(), file);
        QVERIFY(cache_->get(file) == Peaks());
    }

    void recordOfAnotherStateOfTheFileGoes() {
        for (const auto& [later, content] :
             {std::pair(500ms, "same"), {-2000ms, "same"}, {2000ms, "same"}, {0ms, "longer"}}) {
            const bool isHit = later == 500ms;
            const QUrl file = fileNamed(u"a.mp3"_qs, "same");
            const auto date = std::filesystem::last_write_time(pathOf(u"a.mp3"_qs));
            cache_->set(kPeaks, file);
            fileNamed(u"a.mp3"_qs, content);
            std::filesystem::last_write_time(pathOf(u"a.mp3"_qs), date + later);
            QCOMPARE(cache_->get(file).has_value(), isHit);
            QCOMPARE(cache_->entryKeys().size(), isHit ? 1 : 0);
        }
        for (const QUrl& file : {QUrl::fromLocalFile(folder_->filePath(u"missing"_qs)), QUrl(),
                                 QUrl::fromLocalFile(folder_->path())}) {
            cache_->set(kPeaks, file);
            QVERIFY(!cache_->get(file));
        }
    }

    void oldestGoBeyondTheSizeLimit() {
        cache_->setMaxTotalBytes(1048576);
        const QUrl newest = fileNamed(u"new"_qs);
        for (int i = 0; i < 131; ++i) // two of the same moment: the first of them goes first
            putRecord(u"%1"_qs.arg(i, 3, 10, QChar(u'0')), 2000, i == 7 ? 900 : 900 - i);
        preferences_->set(keyOf(u"damaged"_qs), QByteArray(900'000, 'x'));
        cache_->set(Peaks(2000), newest);
        QCOMPARE(cache_->entryKeys().size(), 132);
        QVERIFY(!kept().contains(u"000 "_qs));
        // What another program writes is seen: 001 is used, 002 grows by 2,000 peaks.
        putRecord(u"001"_qs, 2000, 0);
        putRecord(u"002"_qs, 4000, 898);
        cache_->set(Peaks(1), newest);
        QVERIFY(kept().startsWith(u"001 002 003"_qs));
        for (int i = 0; i < 2; ++i) {
            cache_->set(Peaks(2000), newest);
            QVERIFY(kept().startsWith(u"001 002 003 004 005 006 008"_qs));
        }
    }

    void unusedGoBeyondTheAgeLimit() {
        const QUrl file = fileNamed(u"new"_qs);
        for (const bool isLimited : {false, true}) {
            if (isLimited)
                cache_->setMaxAgeSeconds(180 * kDay);
            else
                cache_->setMaxAgeSeconds({});
            putRecord(u"179"_qs, 1, 179.9 * kDay);
            putRecord(u"180"_qs, 1, 180.1 * kDay);
            cache_->set(kPeaks, file);
            QCOMPARE(kept(), isLimited ? u"179 new"_qs : u"179 180 new"_qs);
        }
    }
};

QTEST_GUILESS_MAIN(WaveformCacheTest)
#include "WaveformCacheTest.moc"
