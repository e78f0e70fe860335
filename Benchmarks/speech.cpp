// How well and how fast dictation is understood: people's recordings whose words are known, fed to
// each engine of this machine in the pieces a microphone gives. Needs Debian's
// pocketsphinx-testdata, asterisk-core-sounds-en and -g722, and ffmpeg.
//   bench_speech        every third of the telephone prompts
//   bench_speech all    all of them

#include "Benchmarks/Measure.h"
#include "Platform/Speech/AudioEngine.h"
#include "Platform/Speech/SpeechEngine.h"
#include "Platform/Storage/Folders.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>

#include <ctime>
#include <unistd.h>

using Platform::SpeechEngine;

namespace {

constexpr const char *testData = "/usr/share/pocketsphinx/test/data/";
constexpr const char *prompts = "/usr/share/asterisk/sounds/en_US_f_Allison/";
constexpr const char *promptWords = "/usr/share/doc/asterisk-core-sounds-en/core-sounds-en.txt.gz";
constexpr int fewestWords = 5; // of a prompt; shorter ones are no sentences
constexpr int mostWords = 25;
constexpr int promptShare = 3;          // one prompt in so many, unless all are asked for
constexpr std::size_t chunk = 1024;     // samples; what the microphone hands over at once
constexpr double speechDepth = 1'000.0; // of the loudest 10 ms, in power; speech begins there
constexpr double kilobyte = 1024.0;

constexpr double liveLimit = 28.0;    // % of the words
constexpr double finalLimit = 23.4;   // % of the words
constexpr double firstLimit = 0.5;    // seconds of sound
constexpr double realTimeLimit = 0.5; // seconds of one processor for a second of sound

struct Clip
{
    QString speaker; ///< and microphone
    std::vector<std::int16_t> samples;
    QStringList words;
};

using Clips = std::vector<Clip>;

[[nodiscard]] double seconds(std::size_t samples)
{
    return static_cast<double>(samples) / Platform::AudioEngine::sampleRate;
}

/// Of this thread; others' work on the machine does not count.
[[nodiscard]] double processorSeconds()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

[[nodiscard]] double residentMegabytes()
{
    QFile file(QStringLiteral("/proc/self/statm"));
    if (!file.open(QIODevice::ReadOnly))
        return 0.0;
    const double pages = file.readAll().split(' ').value(1).toDouble();
    return pages * static_cast<double>(sysconf(_SC_PAGESIZE)) / kilobyte / kilobyte;
}

[[nodiscard]] QStringList wordsOf(const QString &text)
{
    static const QRegularExpression others(QStringLiteral("[^a-z' ]"));
    return text.toLower().replace(others, QStringLiteral(" ")).split(u' ', Qt::SkipEmptyParts);
}

[[nodiscard]] QByteArray output(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    process.waitForFinished();
    return process.readAllStandardOutput();
}

void add(Clips &clips, const QString &speaker, const QString &file, const QStringList &words)
{
    QStringList format;
    if (file.endsWith(u".raw"))
        format = {QStringLiteral("-f"), QStringLiteral("s16le"), QStringLiteral("-ar"),
                  QStringLiteral("16000")};
    const QByteArray sound = output(
        QStringLiteral("ffmpeg"),
        QStringList{QStringLiteral("-v"), QStringLiteral("error")} + format +
            QStringList{QStringLiteral("-i"), file, QStringLiteral("-f"), QStringLiteral("s16le"),
                        QStringLiteral("-ar"), QStringLiteral("16000"), QStringLiteral("-ac"),
                        QStringLiteral("1"), QStringLiteral("-")});
    const auto *first = reinterpret_cast<const std::int16_t *>(sound.constData());
    const auto count = static_cast<std::size_t>(sound.size()) / sizeof *first;
    if (count > 0)
        clips.push_back({speaker, {first, first + count}, words});
}

/// A folder whose transcription file has lines of "<s> words </s> (file)".
void addFolder(Clips &clips, const QString &folder, const QString &transcription)
{
    const QDir place(QString::fromUtf8(testData) + folder);
    QFile file(place.filePath(transcription));
    if (!file.open(QIODevice::ReadOnly))
        return;
    static const QRegularExpression line(QStringLiteral("<s>(.*)</s> *\\((.*)\\)"));
    auto match = line.globalMatch(QString::fromUtf8(file.readAll()));
    while (match.hasNext()) {
        const auto one = match.next();
        QString words = one.captured(1);
        words.replace(QStringLiteral("more a amiable"), QStringLiteral("more amiable")); // a slip
        add(clips, folder, place.filePath(one.captured(2) + QStringLiteral(".wav")),
            wordsOf(words));
    }
}

/// Lines of "file: Words."; those with digits or sounds in brackets have no certain words.
void addPrompts(Clips &clips, int share)
{
    static const QRegularExpression line(QStringLiteral("^([a-zA-Z-][^:/;]*): *(.*)$"),
                                         QRegularExpression::MultilineOption);
    static const QRegularExpression uncertain(QStringLiteral("[\\[\\]0-9()<>*#]"));
    const QString text = QString::fromUtf8(
        output(QStringLiteral("zcat"), {QStringLiteral("-f"), QString::fromUtf8(promptWords)}));
    int count = 0;
    for (auto match = line.globalMatch(text); match.hasNext();) {
        const auto one = match.next();
        const QStringList words = wordsOf(one.captured(2));
        const QString file = QString::fromUtf8(prompts) + one.captured(1) + QStringLiteral(".g722");
        if (words.size() < fewestWords || words.size() > mostWords ||
            one.captured(2).contains(uncertain) || !QFile::exists(file))
            continue;
        if (count++ % share == 0)
            add(clips, QStringLiteral("prompts"), file, words);
    }
}

/// Words to put in, take out or change to make one list the other.
[[nodiscard]] int errors(const QStringList &said, const QStringList &heard)
{
    std::vector<int> row(static_cast<std::size_t>(heard.size()) + 1);
    for (std::size_t i = 0; i < row.size(); ++i)
        row[i] = static_cast<int>(i);
    for (const QString &word : said) {
        int diagonal = row[0]++;
        for (std::size_t i = 1; i < row.size(); ++i) {
            const int changed = diagonal + (heard[static_cast<qsizetype>(i) - 1] == word ? 0 : 1);
            diagonal = row[i];
            row[i] = std::min({changed, row[i] + 1, row[i - 1] + 1});
        }
    }
    return row.back();
}

/// In samples from the start of the clip.
[[nodiscard]] std::size_t speechStart(const std::vector<std::int16_t> &samples)
{
    constexpr std::size_t step = 160;
    std::vector<double> powers;
    for (std::size_t i = 0; i + step <= samples.size(); i += step) {
        double power = 0.0;
        for (std::size_t j = i; j < i + step; ++j)
            power += static_cast<double>(samples[j]) * samples[j];
        powers.push_back(power);
    }
    const double least = *std::ranges::max_element(powers) / speechDepth;
    const auto first = std::ranges::find_if(powers, [&](double power) { return power > least; });
    return step * static_cast<std::size_t>(first - powers.begin());
}

enum class Microphone { Unknown, Remembered };

struct Figures
{
    int wordCount = 0;
    int liveErrors = 0;
    int finalErrors = 0;
    int silentClips = 0; ///< nothing was heard in them
    double soundSeconds = 0.0;
    double workSeconds = 0.0;
    std::vector<double> first;  ///< seconds of sound from speech to words
    std::vector<double> chunks; ///< work a second of sound
    std::vector<double> ends;   ///< milliseconds
};

[[nodiscard]] bool dictate(SpeechEngine &engine, const Clip &clip, const QByteArray &adaptation,
                           Figures &figures)
{
    if (!engine.start(adaptation))
        return false;
    const std::size_t spoken = speechStart(clip.samples);
    QString live;
    bool isFirst = true;
    for (std::size_t start = 0; start < clip.samples.size(); start += chunk) {
        const auto rest = std::span(clip.samples).subspan(start);
        const auto piece = rest.first(std::min(chunk, rest.size()));
        const double before = processorSeconds();
        if (!engine.feed(piece))
            return false;
        live = engine.partial();
        const double work = processorSeconds() - before;
        figures.workSeconds += work;
        figures.chunks.push_back(work / seconds(piece.size()));
        if (isFirst && !live.isEmpty()) {
            const std::size_t end = start + piece.size();
            figures.first.push_back(end > spoken ? seconds(end - spoken) : 0.0);
            isFirst = false;
        }
    }
    const double before = processorSeconds();
    const QString final = engine.finish();
    const double work = processorSeconds() - before;
    figures.workSeconds += work;
    figures.ends.push_back(work * 1e3);
    figures.soundSeconds += seconds(clip.samples.size());
    figures.wordCount += static_cast<int>(clip.words.size());
    figures.liveErrors += errors(clip.words, wordsOf(live));
    figures.finalErrors += errors(clip.words, wordsOf(final));
    figures.silentClips += final.isEmpty() ? 1 : 0;
    return true;
}

[[nodiscard]] bool measure(const std::string &name, SpeechEngine &engine, const Clips &clips,
                           Microphone microphone)
{
    Figures figures;
    QString speaker;
    QByteArray adaptation;
    for (const Clip &clip : clips) {
        if (clip.speaker != speaker)
            adaptation.clear();
        speaker = clip.speaker;
        if (!dictate(engine, clip, adaptation, figures))
            return false;
        if (microphone == Microphone::Remembered)
            adaptation = engine.adaptation();
    }
    const std::string what =
        name + (microphone == Microphone::Unknown ? ", first hold: " : ", known mic: ");
    const auto share = [&](int count) { return 100.0 * count / figures.wordCount; };
    using Measure::print;
    print({.what = what + "wrong words, live",
           .value = share(figures.liveErrors),
           .unit = "%",
           .limit = liveLimit});
    print({.what = what + "wrong words, final",
           .value = share(figures.finalErrors),
           .unit = "%",
           .limit = finalLimit});
    print({.what = what + "clips without words",
           .value = static_cast<double>(figures.silentClips),
           .unit = ""});
    if (!figures.first.empty()) {
        print({.what = what + "first words",
               .value = Measure::median(figures.first),
               .unit = "s",
               .limit = firstLimit});
        print({.what = what + "first words, worst",
               .value = Measure::quantile(figures.first, 1.0),
               .unit = "s"});
    }
    print({.what = what + "work a second",
           .value = figures.workSeconds / figures.soundSeconds,
           .unit = "s",
           .limit = realTimeLimit});
    print({.what = what + "work a second, 95 %",
           .value = Measure::quantile(figures.chunks, 0.95),
           .unit = "s"});
    print({.what = what + "after the end", .value = Measure::median(figures.ends)});
    print({.what = what + "after the end, 95 %", .value = Measure::quantile(figures.ends, 0.95)});
    return true;
}

[[nodiscard]] bool measure(const std::string &name, std::unique_ptr<SpeechEngine> engine,
                           const Clips &clips)
{
    const double empty = residentMegabytes();
    const Measure::Stopwatch watch;
    if (!engine->load())
        return false;
    Measure::print({.what = name + ": load the model", .value = watch.milliseconds()});
    const double loaded = residentMegabytes();
    Measure::print({.what = name + ": memory of the model", .value = loaded - empty, .unit = "MB"});
    if (!measure(name, *engine, clips, Microphone::Unknown) ||
        !measure(name, *engine, clips, Microphone::Remembered))
        return false;
    const double used = residentMegabytes();
    engine.reset();
    Measure::print(
        {.what = name + ": memory with the last words", .value = used - empty, .unit = "MB"});
    Measure::print({.what = name + ": memory left after it",
                    .value = residentMegabytes() - empty,
                    .unit = "MB"});
    return true;
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    const bool isWhole = application.arguments().contains(QStringLiteral("all"));
    Clips clips;
    addFolder(clips, QStringLiteral("librivox"), QStringLiteral("transcription"));
    addFolder(clips, QStringLiteral("cards"), QStringLiteral("cards.transcription"));
    const QString folder = QString::fromUtf8(testData);
    add(clips, QStringLiteral("commands"), folder + QStringLiteral("goforward.raw"),
        wordsOf(QStringLiteral("go forward ten meters")));
    add(clips, QStringLiteral("digits"), folder + QStringLiteral("tidigits/dhd.2934z.raw"),
        wordsOf(QStringLiteral("two nine three four zero")));
    addPrompts(clips, isWhole ? 1 : promptShare);

    std::size_t samples = 0;
    qsizetype wordCount = 0;
    for (const Clip &clip : clips) {
        samples += clip.samples.size();
        wordCount += clip.words.size();
    }
    std::printf(
        "speech: %zu clips of people, %lld words, %.0f s: a book read aloud, playing cards,\n"
        "        commands and digits, %s\n",
        clips.size(), wordCount, seconds(samples),
        isWhole ? "telephone prompts" : "every third telephone prompt (\"all\" takes all)");

    const QString locale = QStringLiteral("en_US");
    auto sphinx = Platform::createPocketSphinxEngine(locale);
    bool isGood = !clips.empty() && sphinx && measure("PocketSphinx", std::move(sphinx), clips);
    const QString models = Platform::Folders::dataHome() + QStringLiteral("/Brevio/speech");
    if (auto vosk = Platform::createVoskEngine(locale, models))
        isGood &= measure("Vosk", std::move(vosk), clips);
    else
        std::printf("speech: no Vosk with an English model on this machine\n");
    return isGood ? 0 : 1;
}
