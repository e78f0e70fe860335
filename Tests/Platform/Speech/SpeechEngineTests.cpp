#include "Platform/Speech/CepstralMean.h"
#include "Platform/Speech/SpeechEngine_pocketsphinx.h"
#include "Platform/Storage/Files.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <cstring>
#include <random>

using namespace Qt::StringLiterals;
using Platform::createPocketSphinxEngine;
using Platform::SpeechEngine;

namespace {

using Samples = std::vector<std::int16_t>;

const QString english = u"en_US"_s;
constexpr std::size_t chunk = 1024;
constexpr std::size_t second = 16000;

[[nodiscard]] Samples recording()
{
    const auto bytes =
        Platform::Files::read(u"/usr/share/pocketsphinx/test/data/goforward.raw"_s).value_or("");
    Samples samples(static_cast<std::size_t>(bytes.size()) / sizeof(std::int16_t));
    std::memcpy(samples.data(), bytes.data(), samples.size() * sizeof(std::int16_t));
    return samples;
}

/// Two seconds of what a function says.
[[nodiscard]] Samples made(const std::function<double(std::size_t sample)> &sound)
{
    Samples samples(2 * second);
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] = static_cast<std::int16_t>(sound(i));
    return samples;
}

[[nodiscard]] double noise(double deviation)
{
    static std::mt19937 random(7);
    return std::normal_distribution<double>(0.0, deviation)(random);
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

        for (const QByteArray &junk : {QByteArray("junk"), learnt.chopped(1)})
            QVERIFY(!Platform::meanFromBytes(junk) && m_engine->start(junk));
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

    void whereNobodySpeaksThereAreNoWords()
    {
        const std::pair<const char *, Samples> rows[] = {
            {"digital silence", Samples(2 * second)},
            {"noise", made([](auto) { return noise(3000.0); })},
            {"clicks", made([](auto i) {
                 const bool isClick = i % (second / 3) < 200;
                 return isClick ? (i % 2 ? 9000.0 : -9000.0) : noise(20.0);
             })},
            {"hum of 100 Hz", made([](auto i) { return i % 160 < 80 ? 2000.0 : -2000.0; })}};
        const QByteArray before = m_engine->adaptation();
        for (const auto &[name, samples] : rows) {
            QVERIFY2(hear(*m_engine, samples) == Heard(), name);
            QVERIFY2(m_engine->adaptation() == before, name);
        }
    }

    void aDamagedModelIsNotUsed()
    {
        QTemporaryDir root;
        const QString good = u"/usr/share/pocketsphinx/model/en-us"_s;
        QCOMPARE(QProcess::execute(u"cp"_s, {u"-rs"_s, good, root.path()}), 0); // as links
        const QString file = root.filePath(u"en-us/en-us/mdef"_s);
        const auto bytes = Platform::Files::read(file).value_or("");
        const auto engine = [&] { return createPocketSphinxEngine(english, {root.path()}); };
        QVERIFY(engine() && QFile::remove(file));
        QVERIFY(!engine());
        // The library would read past the end.
        QVERIFY(Platform::Files::replaceAtomically(file, bytes.chopped(1)));
        const auto damaged = engine();
        QVERIFY(damaged && !damaged->load() && !damaged->start({}));
    }
};

QTEST_GUILESS_MAIN(SpeechEngineTests)
#include "SpeechEngineTests.moc"
