#include "Brevio/StoreFile.h"

#include "Brevio/TextForms.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cmath>

namespace Brevio::StoreFile {

namespace {

constexpr qint64 writtenVersion = 3;
constexpr double integerEnd = 9223372036854775808.0; // 2^63, the first beyond a qint64
constexpr qsizetype usualNoteSize = 512;             // bytes, to reserve

// --- Writing

void append(QByteArray &out, QStringView text)
{
    static constexpr char hexDigits[] = "0123456789abcdef";
    const QByteArray bytes = text.toUtf8();
    out += '"';
    qsizetype plainFrom = 0;
    for (qsizetype at = 0; at < bytes.size(); ++at) {
        const char c = bytes[at];
        const auto code = static_cast<unsigned char>(c);
        if (code >= 0x20 && c != '"' && c != '\\' && c != '/')
            continue;
        out.append(bytes.constData() + plainFrom, at - plainFrom);
        plainFrom = at + 1;
        out += '\\';
        switch (c) {
        case '\b':
            out += 'b';
            break;
        case '\f':
            out += 'f';
            break;
        case '\n':
            out += 'n';
            break;
        case '\r':
            out += 'r';
            break;
        case '\t':
            out += 't';
            break;
        default:
            if (code >= 0x20) {
                out += c;
            } else {
                out += "u00";
                out += hexDigits[code >> 4];
                out += hexDigits[code & 0xf];
            }
        }
    }
    out.append(bytes.constData() + plainFrom, bytes.size() - plainFrom);
    out += '"';
}

void append(QByteArray &out, const Note &note)
{
    out += "      \"body\" : ";
    append(out, note.body);
    out += ",\n      \"createdAt\" : \"" + TextForms::fromInstant(note.createdAt);
    out += "\",\n      \"id\" : \"" + TextForms::fromIdentifier(note.id);
    out += note.isPinned ? "\",\n      \"isPinned\" : true" : "\",\n      \"isPinned\" : false";
    out += ",\n      \"lastEditedAt\" : \"" + TextForms::fromInstant(note.lastEditedAt) + "\"\n";
}

void append(QByteArray &out, const Tombstone &tombstone)
{
    out += "      \"deletedAt\" : \"" + TextForms::fromInstant(tombstone.deletedAt);
    out += "\",\n      \"id\" : \"" + TextForms::fromIdentifier(tombstone.id) + "\"\n";
}

template <class Record>
void append(QByteArray &out, const char *key, const std::vector<Record> &records)
{
    out += QByteArray("  \"") + key + "\" : [\n";
    // An empty list keeps a blank line between its brackets.
    const char *separator = "";
    for (const Record &record : records) {
        out += separator;
        out += "    {\n";
        append(out, record);
        out += "    }";
        separator = ",\n";
    }
    out += "\n  ],\n";
}

// --- Reading. Each reader says whether the member may stand; a missing one leaves the default.

bool isMissing(const QJsonValue &value)
{
    return value.isUndefined() || value.isNull();
}

bool read(const QJsonValue &value, QString &text)
{
    if (isMissing(value))
        return true;
    text = value.toString();
    // The escape of half a surrogate pair names no character.
    if (!text.isValidUtf16())
        text = QString::fromUtf8(text.toUtf8());
    return value.isString();
}

bool read(const QJsonValue &value, bool &flag)
{
    flag = value.toBool(flag);
    return value.isBool() || isMissing(value);
}

bool read(const QJsonValue &value, qint64 &number)
{
    if (isMissing(value))
        return true;
    const double real = value.toDouble();
    if (!value.isDouble() || std::trunc(real) != real || real < -integerEnd || real >= integerEnd)
        return false;
    number = value.toInteger();
    return true;
}

bool read(const QJsonValue &value, Instant &time)
{
    if (isMissing(value))
        return true;
    const auto read = TextForms::toInstant(value.toString());
    time = read.value_or(time);
    return read.has_value();
}

bool read(const QJsonValue &value, QUuid &id)
{
    if (isMissing(value))
        return true;
    const auto read = TextForms::toIdentifier(value.toString());
    id = read.value_or(id);
    return read.has_value();
}

bool read(const QJsonObject &object, Instant now, Note &note)
{
    note = Note::create(now);
    if (!read(object.value(u"createdAt"), note.createdAt))
        return false;
    note.lastEditedAt = note.createdAt;
    return read(object.value(u"id"), note.id) && read(object.value(u"body"), note.body) &&
           read(object.value(u"lastEditedAt"), note.lastEditedAt) &&
           read(object.value(u"isPinned"), note.isPinned);
}

bool read(const QJsonObject &object, Instant, Tombstone &tombstone)
{
    const auto id = object.value(u"id");
    const auto deletedAt = object.value(u"deletedAt");
    return !isMissing(id) && !isMissing(deletedAt) && read(id, tombstone.id) &&
           read(deletedAt, tombstone.deletedAt);
}

template <class Record>
bool read(const QJsonValue &value, Instant now, std::vector<Record> &records)
{
    if (isMissing(value))
        return true;
    const QJsonArray array = value.toArray();
    records.resize(static_cast<std::size_t>(array.size()));
    auto record = records.begin();
    for (const QJsonValue element : array) {
        if (!element.isObject() || !read(element.toObject(), now, *record++))
            return false;
    }
    return value.isArray();
}

} // namespace

QByteArray encode(const NoteList &notes, const TombstoneList &tombstones)
{
    QByteArray out;
    out.reserve(static_cast<qsizetype>(notes.size() + tombstones.size()) * usualNoteSize);
    out += "{\n";
    append(out, "notes", notes);
    append(out, "tombstones", tombstones);
    out += "  \"version\" : " + QByteArray::number(writtenVersion) + "\n}";
    return out;
}

std::optional<OnDisk> decode(const QByteArray &bytes, Instant now)
{
    const auto document = QJsonDocument::fromJson(bytes);
    if (!document.isObject())
        return std::nullopt;
    const QJsonObject top = document.object();
    OnDisk content;
    if (!read(top.value(u"version"), content.version) ||
        !read(top.value(u"notes"), now, content.notes) ||
        !read(top.value(u"tombstones"), now, content.tombstones))
        return std::nullopt;
    return content;
}

} // namespace Brevio::StoreFile
