#include "Platform/Updates/Appcast.h"

#include "Platform/Updates/UpdateAddress.h"

#include <QDateTime>
#include <QStringDecoder>
#include <QXmlStreamReader>

#include <algorithm>
#include <vector>

namespace Platform {

namespace {

constexpr qsizetype deepestElement = 16;      // a release's enclosure is the fourth
constexpr qsizetype longestVersion = 64;      // characters
constexpr qsizetype longestAddress = 2048;    // characters
constexpr qsizetype longestNotes = 16 * 1024; // characters; the rest is not shown
constexpr qsizetype signatureSize = 64;       // bytes
const auto thisSystem = QStringLiteral("linux");

/// A release as it stands in the feed, not yet judged.
struct Draft
{
    bool hasPackage = false;
    QString version;
    QString shownVersion;
    QString address;
    QString length;
    QString signature;
    QString notes;
    QString published;
};

bool isDigit(QChar character)
{
    return character >= u'0' && character <= u'9';
}

bool isNumber(QStringView text)
{
    return !text.isEmpty() && std::all_of(text.begin(), text.end(), isDigit);
}

/// Shown in dialogs: nothing that a label could take for mark-up or that changes the text's run.
bool isPlainVersion(const QString &text)
{
    return !text.isEmpty() && text.size() <= longestVersion &&
           std::all_of(text.begin(), text.end(), [](QChar character) {
               return (character.unicode() < 0x80 && character.isLetterOrNumber()) ||
                      QStringView(u" .-+~_").contains(character);
           });
}

/// The first enclosure that is meant for this system counts.
void takeEnclosure(const QXmlStreamAttributes &attributes, Draft &draft)
{
    Draft found = draft;
    found.hasPackage = true;
    for (const QXmlStreamAttribute &attribute : attributes) {
        const QStringView name = attribute.name();
        const QString value = attribute.value().trimmed().toString();
        if (name == u"os" && value.compare(thisSystem, Qt::CaseInsensitive) != 0)
            return;
        if (name == u"url")
            found.address = value;
        else if (name == u"length")
            found.length = value;
        else if (name == u"edSignature")
            found.signature = value;
        else if (name == u"version")
            found.version = value;
        else if (name == u"shortVersionString")
            found.shownVersion = value;
    }
    if (!draft.hasPackage)
        draft = found;
}

/// Walks the document without recursion, so that its depth costs no stack.
class FeedReader final
{
public:
    explicit FeedReader(const QString &text)
        : m_xml(text)
    {}

    [[nodiscard]] std::optional<AppcastRefusal> read()
    {
        while (!m_xml.atEnd()) {
            const auto token = m_xml.readNext();
            if (token == QXmlStreamReader::DTD || token == QXmlStreamReader::EntityReference)
                return AppcastRefusal::Forbidden;
            if (token == QXmlStreamReader::StartDocument && !isUtf8())
                return AppcastRefusal::Forbidden;
            if (token == QXmlStreamReader::StartElement) {
                m_path.push_back(m_xml.name().toString());
                if (m_path.size() > deepestElement)
                    return AppcastRefusal::Forbidden;
                enter();
            } else if (token == QXmlStreamReader::EndElement) {
                leave();
                m_path.pop_back();
            } else if (token == QXmlStreamReader::Characters) {
                takeText();
            }
        }
        if (m_xml.hasError() || !m_isFeed)
            return AppcastRefusal::Unreadable;
        return std::nullopt;
    }

    [[nodiscard]] const std::vector<Draft> &releases() const { return m_releases; }

private:
    [[nodiscard]] bool isUtf8() const
    {
        const QStringView encoding = m_xml.documentEncoding();
        return encoding.isEmpty() || encoding.compare(u"utf-8", Qt::CaseInsensitive) == 0;
    }

    /// Inside a release, at this depth below it: 0 is the release itself.
    [[nodiscard]] bool isInRelease(qsizetype depth) const
    {
        return m_path.size() >= 3 + depth && m_path[0] == u"rss" && m_path[1] == u"channel" &&
               m_path[2] == u"item";
    }

    void enter()
    {
        if (m_path.size() == 2 && m_path[0] == u"rss" && m_path[1] == u"channel")
            m_isFeed = true;
        if (m_path.size() == 3)
            m_draft = {};
        if (m_path.size() == 4 && isInRelease(1) && m_path[3] == u"enclosure")
            takeEnclosure(m_xml.attributes(), m_draft);
    }

    void leave()
    {
        if (m_path.size() == 3 && isInRelease(0) && m_draft.hasPackage)
            m_releases.push_back(m_draft);
    }

    void takeText()
    {
        if (!isInRelease(1))
            return;
        const QString &field = m_path[3];
        if (field == u"description")
            m_draft.notes += m_xml.text().left(longestNotes - m_draft.notes.size());
        else if (field == u"pubDate")
            m_draft.published += m_xml.text();
    }

    QXmlStreamReader m_xml;
    QStringList m_path;
    Draft m_draft;
    std::vector<Draft> m_releases;
    bool m_isFeed = false;
};

std::optional<AppcastItem> judge(const Draft &draft, const QVersionNumber &version,
                                 const QUrl &feed)
{
    const QUrl address =
        draft.address.size() > longestAddress ? QUrl() : QUrl(draft.address, QUrl::StrictMode);
    const qint64 length = isNumber(draft.length) ? draft.length.toLongLong() : 0;
    const auto signature = QByteArray::fromBase64Encoding(
        draft.signature.toUtf8(),
        QByteArray::Base64Encoding | QByteArray::AbortOnBase64DecodingErrors);
    if (!UpdateAddress::isUsableFrom(feed, address) || length <= 0 || length > largestPackage ||
        !signature || signature.decoded.size() != signatureSize)
        return std::nullopt;
    return AppcastItem{version,
                       isPlainVersion(draft.shownVersion) ? draft.shownVersion : draft.version,
                       draft.notes.trimmed(),
                       QDateTime::fromString(draft.published.trimmed(), Qt::RFC2822Date).date(),
                       address,
                       length,
                       signature.decoded};
}

} // namespace

std::optional<QVersionNumber> parseVersion(QStringView text)
{
    qsizetype end = 0;
    const auto version = QVersionNumber::fromString(text.left(longestVersion), &end);
    const bool isPlain = std::all_of(text.begin(), text.end(), [](QChar character) {
        return isDigit(character) || character == u'.';
    });
    // Of "1.2beta" it reads the 1.2, of "1..2" the 1, and of a number too large nothing.
    if (version.isNull() || end != text.size() || !isPlain)
        return std::nullopt;
    return version.normalized();
}

std::variant<AppcastItem, AppcastRefusal> readAppcast(const QByteArray &bytes, const QUrl &feed)
{
    if (bytes.size() > largestAppcast)
        return AppcastRefusal::TooLarge;
    // Decoded here: the reader would follow whatever encoding the document claims.
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = decoder(bytes);
    if (decoder.hasError())
        return AppcastRefusal::Forbidden;

    FeedReader reader(text);
    if (const auto refusal = reader.read())
        return *refusal;

    const Draft *newest = nullptr;
    QVersionNumber newestVersion;
    for (const Draft &draft : reader.releases()) {
        const auto version =
            parseVersion(draft.version.isEmpty() ? draft.shownVersion : draft.version);
        if (!version)
            return AppcastRefusal::BadRelease;
        if (!newest || *version > newestVersion) {
            newest = &draft;
            newestVersion = *version;
        }
    }
    if (!newest)
        return AppcastRefusal::NothingHere;
    const auto item = judge(*newest, newestVersion, feed);
    if (!item)
        return AppcastRefusal::BadRelease;
    return *item;
}

} // namespace Platform
