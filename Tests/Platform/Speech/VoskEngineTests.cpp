#include "Platform/Core/SharedLibrary.h"
#include "Platform/Speech/SpeechEngine.h"
#include "Platform/Storage/Files.h"

#include <QCoreApplication>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

/// With a small library of the tests' own in Vosk's place and folders that look like its models.
class VoskEngineTests final : public QObject
{
    Q_OBJECT

private:
    void write(const QString &path, const QByteArray &content = {})
    {
        const QString full = m_folder->filePath(path);
        QVERIFY(Platform::Files::makeFolder(QFileInfo(full).path()) &&
                Platform::Files::replaceAtomically(full, content));
    }
    /// A model that hears these words.
    void addModel(const QString &name, const QByteArray &words)
    {
        write(name + u"/am/final.mdl"_s);
        write(name + u"/conf/model.conf"_s);
        write(name + u"/words"_s, words);
    }
    [[nodiscard]] std::unique_ptr<Platform::SpeechEngine> engine(const QString &locale) const
    {
        return Platform::createVoskEngine(locale, m_folder->path());
    }
    /// What the engine for the locale hears in a while; nothing when it fails.
    [[nodiscard]] QString hear(const QString &locale) const
    {
        const auto made = engine(locale);
        bool works = made && made->load() && made->start({});
        for (int piece = 0; works && piece < 10; ++piece)
            works = made->feed(m_sound);
        return works ? made->finish() : QString();
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    const std::vector<std::int16_t> m_sound = std::vector<std::int16_t>(160);

private Q_SLOTS:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        QVERIFY(QFile::link(QCoreApplication::applicationDirPath() + u"/vosk_standin/libvosk.so"_s,
                            m_folder->filePath(u"libvosk.so"_s)));
    }

    void theBestModelForTheLanguageIsTaken()
    {
        // Folders, each with its sidecar's content after "="; without a model inside after "!".
        const struct
        {
            const char *models, *locale, *expected;
        } rows[] = {
            // Exact before large, and the plain language before another region.
            {"vosk-model-small-en-in-0.4 vosk-model-en-us-0.22", "en_IN.UTF-8",
             "vosk-model-small-en-in-0.4"},
            {"vosk-model-small-pt-0.3 vosk-model-pt-fb-1", "pt_BR", "vosk-model-small-pt-0.3"},
            // Large before small, and then the newest.
            {"!vosk-model-de-0.30 vosk-model-small-de-0.22 vosk-model-de-0.21 "
             "vosk-model-de-tuda-0.6-900k",
             "de_CH", "vosk-model-de-0.21"},
            {"vosk-model-small-cn-0.22", "zh_Hans_CN", "vosk-model-small-cn-0.22"},
            // The sidecar's language before the name's.
            {"vosk-model-de-0.21=fr-CA mine=de", "de", "mine"},
        };
        for (const auto &[models, locale, expected] : rows) {
            init();
            for (const QString &model : QString::fromLatin1(models).split(u' ')) {
                const QString name = model.section(u'=', 0, 0);
                if (name.startsWith(u'!'))
                    write(name.mid(1) + u"/words"_s, "no model");
                else
                    addModel(name, name.toUtf8());
                if (model.contains(u'='))
                    write(name + u"/locale"_s, model.section(u'=', 1).toUtf8());
            }
            QVERIFY2(hear(QLatin1String(locale)).toLower() == QLatin1String(expected), models);
        }
    }

    void aModelNeedsALibrary()
    {
        m_folder = std::make_unique<QTemporaryDir>(); // what was loaded once stays loaded
        addModel(u"vosk-model-de-0.21"_s, "eins");
        const bool isInstalled = Platform::SharedLibrary::open({"libvosk.so"}).has_value();
        QCOMPARE(engine(u"de"_s) != nullptr, isInstalled);
    }

    void segmentsAddUpToANote()
    {
        write(u"vosk-model-pl-0.22/final.mdl"_s); // the older layout
        write(u"vosk-model-pl-0.22/words"_s, "<s> ++UM++ \xc3\xb3smy(2) i | [NOISE] Tak.");
        QCOMPARE(hear(u"pl"_s), u"Ósmy i Tak."_s); // only English has an "I"
        addModel(u"vosk-model-en-us-0.22"_s, "i | in <unk> i'm");
        const auto made = engine(u"en"_s);
        QVERIFY(made && made->load());
        for (int utterance = 0; utterance < 2; ++utterance) {
            QVERIFY(made->start({})); // drops what was heard
            for (const char *words : {"I", "I", "I in", "I in", "I in I'm"}) {
                QVERIFY(made->feed(m_sound));
                QCOMPARE(made->partial(), QLatin1String(words));
            }
        }
        QCOMPARE(made->finish(), u"I in I'm"_s);
    }

    void failingCallsFail()
    {
        const QString model = u"vosk-model-en-us-0.22"_s;
        addModel(model, "");
        const auto made = engine(u"en"_s);
        QVERIFY(made && !made->load() && !made->start({}) && !made->feed(m_sound));
        write(model + u"/words"_s, "one !");
        QCOMPARE(hear(u"en"_s), QString());
    }
};

QTEST_GUILESS_MAIN(VoskEngineTests)
#include "VoskEngineTests.moc"
