#include "Platform/Speech/VoskModels.h"

#include "Platform/Storage/Files.h"

#include <QDir>
#include <QRegularExpression>
#include <QVersionNumber>

#include <algorithm>
#include <array>
#include <optional>
#include <tuple>
#include <utility>

namespace Platform {

namespace {

const QString modelPrefix = QStringLiteral("vosk-model-");
/// A file in a model's folder with the language tag that its name does not tell.
const QString localeFile = QStringLiteral("locale");

/// Model names that tell a country instead of the language.
constexpr std::array<std::pair<QStringView, QStringView>, 3> misnamed{{
    {u"cn", u"zh"},
    {u"kz", u"kk"},
    {u"vn", u"vi"},
}};

struct Tag
{
    QString language; ///< empty: none
    QString region;   ///< may be empty
};

bool isWord(const QString &text, qsizetype least, qsizetype most)
{
    return text.size() >= least && text.size() <= most &&
           std::all_of(text.begin(), text.end(), [](QChar c) { return c >= u'a' && c <= u'z'; });
}

/// Of a language tag or a locale's name: "de", "en_US.UTF-8", "zh-Hant-TW".
Tag tagOf(const QString &text)
{
    static const QRegularExpression variant(QStringLiteral("[.@].*$"));
    QStringList parts =
        text.trimmed().toLower().remove(variant).replace(u'-', u'_').split(QChar(u'_'));
    Tag tag;
    if (isWord(parts.front(), 2, 3))
        tag.language = parts.takeFirst();
    for (const QString &part : std::as_const(parts))
        if (tag.region.isEmpty() && isWord(part, 2, 2))
            tag.region = part;
    return tag;
}

/// Of a model's folder: "vosk-model-small-en-us-0.15", "vosk-model-de-tuda-0.6-900k".
Tag tagOfModel(const QString &name)
{
    if (!name.startsWith(modelPrefix))
        return {};
    QStringList parts = name.mid(modelPrefix.size()).toLower().split(u'-');
    if (isWord(parts.front(), 4, 16)) // its size
        parts.removeFirst();
    Tag tag;
    if (!parts.isEmpty() && isWord(parts.front(), 2, 2)) // "spk" tells voices apart
        tag.language = parts.takeFirst();
    if (!parts.isEmpty() && isWord(parts.front(), 2, 2))
        tag.region = parts.front();
    const auto known = std::find_if(misnamed.begin(), misnamed.end(),
                                    [&](const auto &pair) { return pair.first == tag.language; });
    if (known != misnamed.end())
        tag.language = known->second.toString();
    return tag;
}

/// The 0.22 of "vosk-model-small-en-us-0.22"; null when there is none.
QVersionNumber versionOfModel(const QString &name)
{
    static const QRegularExpression number(QStringLiteral("-([0-9]+[0-9.]*)"));
    return QVersionNumber::fromString(number.match(name).captured(1));
}

bool looksLikeModel(const QDir &folder)
{
    const auto isFolder = [&](const char *name) {
        return QFileInfo(folder.filePath(QLatin1String(name))).isDir();
    };
    return (isFolder("am") && isFolder("conf")) ||
           QFileInfo(folder.filePath(QStringLiteral("final.mdl"))).isFile();
}

/// How well a model's region suits; a later one is better.
enum class Match { Region, NoRegion, Exact };

} // namespace

VoskModelFolder findVoskModel(const QString &locale, const QString &path)
{
    const QDir folder(path);
    const Tag wanted = tagOf(locale);
    std::optional<std::tuple<Match, bool, QVersionNumber, QString>> best;
    const QStringList names = folder.entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString &name : names) {
        const QDir model(folder.filePath(name));
        if (!looksLikeModel(model))
            continue;
        const QString sidecar = model.filePath(localeFile);
        const auto said =
            QFileInfo(sidecar).isFile() ? Files::read(sidecar) : std::optional<QByteArray>();
        const Tag tag = said ? tagOf(QString::fromUtf8(*said)) : tagOfModel(name);
        if (tag.language.isEmpty() || tag.language != wanted.language)
            continue;
        const Match match = tag.region == wanted.region ? Match::Exact
                            : tag.region.isEmpty()      ? Match::NoRegion
                                                        : Match::Region;
        const bool isLarge = !name.split(u'-').contains(QStringLiteral("small"));
        best =
            std::max(best, std::optional(std::tuple(match, isLarge, versionOfModel(name), name)));
    }
    return best ? VoskModelFolder{folder.filePath(std::get<QString>(*best)), wanted.language}
                : VoskModelFolder{};
}

} // namespace Platform
