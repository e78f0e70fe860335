#include "Platform/Speech/CepstralMean.h"
#include "Platform/Speech/SpeechEngine_pocketsphinx.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <cstring>
#include <limits>
#include <random>

using Platform::createPocketSphinxEngine;
using Platform::SpeechEngine;

namespace {

using Samples = std::vector<std::int16_t>;

const QString english = QStringLiteral("en_US");
const QString models = QStringLiteral("/usr/share/pocketsphinx/model");
constexpr std::size_t chunk = 1024;
constexpr std::size_t second = 16000;

[[nodiscard]] QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

[[nodiscard]] Samples recording()
{
    const auto bytes = contentOf(QStringLiteral("/usr/share/pocketsphinx/test/data/goforward.raw"));
    Samples samples(static_cast<std::size_t>(bytes.size()) / sizeof(std::int16_t));
    std::memcpy(samples.data(), bytes.data(), samples.size() * sizeof(std::int16_t));
    return samples;
}

[[nodiscard]] Samples noise(double deviation)
{
    std::mt19937 random(7);
    std::normal_distribution<double> values(0.0, deviation);
    Samples samples(2 * second);
    std::ranges::generate(samples, [&] { return static_cast<std::int16_t>(values(random)); });
    return samples;
}

[[nodiscard]] Samples clicks()
{
    Samples samples = noise(20.0);
    for (std::size_t start = second / 4; start + 200 < samples.size(); start += second / 3) {
        for (std::size_t i = 0; i < 200; ++i)
            samples[start + i] = static_cast<std::int16_t>(i % 2 ? 9000 : -9000);
    }
    return samples;
}

[[nodiscard]] Samples hum()
{
    Samples samples(2 * second);
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] = static_cast<std::int16_t>((i % 160 < 80 ? 1 : -1) * 2000); // 100 Hz
    return samples;
}

/// The words while somebody speaks, and in the end.
using Heard = std::pair<QString, QString>;

[[nodiscard]] Heard hear(SpeechEngine &engine, const Samples &samples,
                         const QByteArray &adaptation = {})
{
    const QString failed = QStringLiteral("failed");
    if (!engine.start(adaptation))
        return {failed, failed};
    QString live;
    for (std::size_t start = 0; start < samples.size(); start += chunk) {
        const auto piece = std::span(samples).subspan(start);
        if (!engine.feed(piece.first(std::min(chunk, piece.size()))))
            return {failed, failed};
        live = engine.partial();
    }
    return {live, engine.finish()};
}

} // namespace

/// With the packaged model and library.
class SpeechEngineTests final : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<SpeechEngine> m_engine;

private Q_SLOTS:
    void initTestCase()
    {
        m_engine = createPocketSphinxEngine(english);
        QVERIFY(m_engine);
        QVERIFY(!m_engine->start({})); // not loaded
        QVERIFY(m_engine->load());
        QVERIFY(!recording().empty());
    }

    void everyKindOfEnglishIsServedAndNothingElse()
    {
        for (const char *locale : {"en", "en_US", "en-GB", "EN_au"})
            QVERIFY2(createPocketSphinxEngine(QString::fromUtf8(locale)), locale);
        for (const char *locale : {"", "C", "de_DE", "enx", "eng", "fr-en"})
            QVERIFY2(!createPocketSphinxEngine(QString::fromUtf8(locale)), locale);
    }

    void utterancesOnOneEngineAreHeardExactly()
    {
        const QString words = QStringLiteral("Go forward ten meters");
        const Samples samples = recording();
        QCOMPARE(hear(*m_engine, samples), Heard(words, words));
        const QByteArray learnt = m_engine->adaptation();
        QVERIFY(!learnt.isEmpty());

        QCOMPARE(hear(*m_engine, samples, learnt), Heard(words, words));
        QVERIFY(m_engine->adaptation() != learnt);

        QVERIFY(Platform::meanFromBytes(learnt));
        QByteArray flipped = learnt;
        flipped[6] = static_cast<char>(~flipped[6]);
        Platform::Cepstrum absurd{};
        absurd[3] = std::numeric_limits<float>::quiet_NaN();
        for (const QByteArray &junk : {QByteArray("junk"), flipped, learnt + 'x', learnt.chopped(1),
                                       Platform::toBytes(absurd)}) {
            QVERIFY(!Platform::meanFromBytes(junk));
            QVERIFY(m_engine->start(junk));
        }
    }

    void anUnfinishedUtteranceIsDropped()
    {
        QVERIFY(m_engine->start({}));
        QVERIFY(m_engine->feed(recording()));
        QVERIFY(!m_engine->partial().isEmpty());
        QCOMPARE(hear(*m_engine, {}), Heard());
        QVERIFY(!m_engine->feed(Samples(chunk)));
        QCOMPARE(m_engine->finish(), QString());
    }

    void whereNobodySpeaksThereAreNoWords_data()
    {
        QTest::addColumn<Samples>("samples");
        QTest::newRow("digital silence") << Samples(2 * second);
        QTest::newRow("quiet noise") << noise(20.0);
        QTest::newRow("loud noise") << noise(3000.0);
        QTest::newRow("clicks") << clicks();
        QTest::newRow("hum") << hum();
        const Samples speech = recording();
        const auto start = speech.begin() + second;
        QTest::newRow("a tenth of a second of speech") << Samples(start, start + second / 10);
    }

    void whereNobodySpeaksThereAreNoWords()
    {
        QFETCH(Samples, samples);
        const QByteArray before = m_engine->adaptation();
        QCOMPARE(hear(*m_engine, samples), Heard());
        QCOMPARE(m_engine->adaptation(), before);
    }

    void aDamagedModelIsNotUsed()
    {
        QTemporaryDir root;
        const QStringList folders{root.path()};
        const QString good = models + QStringLiteral("/en-us/");
        const QString copy = root.filePath(QStringLiteral("en-us/"));
        QVERIFY(QDir().mkpath(copy + QStringLiteral("en-us")));
        QStringList files = QDir(good).entryList(QDir::Files);
        for (const QString &name : QDir(good + QStringLiteral("en-us")).entryList(QDir::Files))
            files << QStringLiteral("en-us/") + name;
        for (const QString &file : files)
            QVERIFY(QFile::link(good + file, copy + file));

        for (const char *name :
             {"en-us/mdef", "en-us/means", "en-us/variances", "en-us/sendump",
              "en-us/transition_matrices", "en-us.lm.bin", "cmudict-en-us.dict"}) {
            const QString file = QString::fromUtf8(name);
            QVERIFY(createPocketSphinxEngine(english, folders));
            QVERIFY(QFile::remove(copy + file));
            QVERIFY2(!createPocketSphinxEngine(english, folders), name);
            QByteArrayList damages{QByteArray(2000, '\x5a')};
            if (file == u"en-us/mdef") {
                const QByteArray whole = contentOf(good + file);
                for (const auto size : {qsizetype(20), qsizetype(1150), whole.size() - 1})
                    damages << whole.first(size);
            }
            for (const QByteArray &bytes : damages) {
                QFile bad(copy + file);
                QVERIFY(bad.open(QIODevice::WriteOnly) && bad.write(bytes) == bytes.size());
                bad.close();
                const auto engine = createPocketSphinxEngine(english, folders);
                QVERIFY(engine);
                QVERIFY2(!engine->load() && !engine->start({}), name);
            }
            QVERIFY(QFile::remove(copy + file) && QFile::link(good + file, copy + file));
        }
    }
};

QTEST_GUILESS_MAIN(SpeechEngineTests)
#include "SpeechEngineTests.moc"
