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
    void addModel(const QString &name)
    {
        write(name + u"/am/final.mdl"_s);
        write(name + u"/conf/model.conf"_s);
    }
    [[nodiscard]] QString library() const { return m_folder->filePath(u"libvosk.so"_s); }
    [[nodiscard]] std::unique_ptr<Platform::SpeechEngine> engine(const QString &locale) const
    {
        return Platform::createVoskEngine(locale, m_folder->path());
    }
    /// What the engine for the locale hears in 0.1 seconds; nothing when it fails.
    [[nodiscard]] QString hear(const QString &locale) const
    {
        const auto made = engine(locale);
        const std::vector<std::int16_t> samples(1600);
        return made && made->load() && made->start({}) && made->feed(samples) ? made->finish()
                                                                              : QString();
    }

    std::unique_ptr<QTemporaryDir> m_folder;

private Q_SLOTS:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        QVERIFY(QFile::copy(QCoreApplication::applicationDirPath() + u"/vosk_standin/libvosk.so"_s,
                            library()));
    }

    void theBestModelForTheLanguageIsTaken()
    {
        // Folders, each with its sidecar's content after "="; without a model inside after "!".
        const struct
        {
            const char *models, *locale, *expected;
        } rows[] = {
            {"vosk-model-en-us-0.22", "en-US", "vosk-model-en-us-0.22"},
            // Exact before large, and the plain language before another region.
            {"vosk-model-small-en-in-0.4 vosk-model-en-us-0.22", "en_IN.UTF-8",
             "vosk-model-small-en-in-0.4"},
            {"vosk-model-small-pt-0.3 vosk-model-pt-fb-1", "pt_BR", "vosk-model-small-pt-0.3"},
            // Large before small, and then the newest.
            {"vosk-model-small-de-0.15 vosk-model-de-tuda-0.6-900k", "de_CH",
             "vosk-model-de-tuda-0.6-900k"},
            {"vosk-model-de-0.21 vosk-model-de-0.6 vosk-model-de-0.15", "de", "vosk-model-de-0.21"},
            {"vosk-model-small-cn-0.22", "zh_Hans_CN", "vosk-model-small-cn-0.22"},
            {"vosk-model-spk-0.4 vosk-model", "sp", ""}, // of voices
            // The sidecar's language before the name's, and no other.
            {"vosk-model-de-0.21=fr-CA mine=en_GB", "en_GB", "mine"},
            {"vosk-model-de-0.21=fr-CA", "de", ""},
            {"!vosk-model-de-0.21 vosk-model-small-de-0.15", "de", "vosk-model-small-de-0.15"},
        };
        for (const auto &[models, locale, expected] : rows) {
            init();
            for (const QString &model : QString::fromLatin1(models).split(u' ')) {
                const QString name = model.section(u'=', 0, 0).remove(u'!');
                write(name + u"/words"_s, name.toUtf8());
                if (!model.startsWith(u'!'))
                    addModel(name);
                if (model.contains(u'='))
                    write(name + u"/locale"_s, model.section(u'=', 1).toUtf8());
            }
            QVERIFY2(hear(QLatin1String(locale)).toLower() == QLatin1String(expected), models);
        }
    }

    void aModelNeedsALibrary()
    {
        write(u"vosk-model-de-0.6/final.mdl"_s); // the older layout
        QVERIFY(engine(u"de"_s));
        const bool isInstalled = Platform::SharedLibrary::open({"libvosk.so"}).has_value();
        m_folder = std::make_unique<QTemporaryDir>(); // what was loaded once stays loaded
        addModel(u"vosk-model-de-0.21"_s);
        QCOMPARE(engine(u"de"_s) != nullptr, isInstalled);
        write(u"libvosk.so"_s, "no library");
        QCOMPARE(engine(u"de"_s) != nullptr, isInstalled);
    }

    void segmentsAddUpToANote()
    {
        addModel(u"vosk-model-pl-0.22"_s);
        write(u"vosk-model-pl-0.22/words"_s, "<s> ++UM++ \xc3\xb3smy(2) i | [NOISE] Tak.");
        QCOMPARE(hear(u"pl"_s), u"Ósmy i Tak."_s); // only English has an "I"
        addModel(u"vosk-model-en-us-0.22"_s);
        write(u"vosk-model-en-us-0.22/words"_s, "i | in <unk> i'm");
        auto made = engine(u"en"_s);
        QVERIFY(made && made->load());
        const std::vector<std::int16_t> samples(160);
        for (int utterance = 0; utterance < 2; ++utterance) {
            QVERIFY(made->start({}));
            for (const char *words : {"I", "I", "I in", "I in", "I in I'm"}) {
                QVERIFY(made->feed(samples));
                QCOMPARE(made->partial(), QLatin1String(words));
            }
            QCOMPARE(made->finish(), u"I in I'm"_s);
        }
        QVERIFY(made->start({}) && made->feed(samples) && made->feed(samples));
        QVERIFY(made->start({})); // drops what was heard
        QCOMPARE(made->finish(), QString());

        int (*alive)() = nullptr;
        const auto loaded = Platform::SharedLibrary::open({qPrintable(library())});
        QVERIFY(loaded && loaded->resolve(alive, "standin_alive"));
        QCOMPARE(alive(), 2);
        made.reset();
        QCOMPARE(alive(), 0);
    }

    void failingCallsFail()
    {
        const QString model = u"vosk-model-en-us-0.22"_s;
        addModel(model);
        write(model + u"/words"_s, "one");
        const auto made = engine(u"en"_s);
        QVERIFY(made && !made->start({}) && !made->feed({}));
        for (const auto &call : {u"model"_s, u"recognizer"_s, u"accept"_s}) {
            const QString mark = model + u"/fail-"_s + call;
            write(mark);
            QCOMPARE(hear(u"en"_s), QString());
            QVERIFY(QFile::remove(m_folder->filePath(mark)));
            QCOMPARE(hear(u"en"_s), u"One"_s);
        }
        for (const char *answer : {"", "{", "[\"text\"]", "{\"text\": 5}", "{\"words\": \"a\"}",
                                   "\xff\xfe{\"text\":\"a\"}"}) {
            write(model + u"/answer"_s, answer);
            QCOMPARE(hear(u"en"_s), QString());
        }
    }
};

QTEST_GUILESS_MAIN(VoskEngineTests)
#include "VoskEngineTests.moc"
