#include "Brevio/Notes/StoreFile.h"

#include "Brevio/Notes/JsonReader.h"
#include "Brevio/Notes/TextForms.h"

namespace Brevio::StoreFile {

namespace {

constexpr qint64 writtenVersion = 3;
constexpr qsizetype usualNoteSize = 512; // bytes, to reserve

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

// --- Reading. Each reader says whether the value may stand there.

template <class Value>
bool take(Value &value, const std::optional<Value> &read)
{
    value = read.value_or(value);
    return read.has_value();
}

bool read(JsonReader &json, QString &text)
{
    const auto bytes = json.string();
    text = bytes ? QString::fromUtf8(*bytes) : QString();
    return bytes.has_value();
}

bool read(JsonReader &json, std::optional<Instant> &time)
{
    const auto text = json.string();
    time = text ? TextForms::toInstant(*text) : std::nullopt;
    return time.has_value();
}

bool read(JsonReader &json, std::optional<QUuid> &id)
{
    const auto text = json.string();
    id = text ? TextForms::toIdentifier(*text) : std::nullopt;
    return id.has_value();
}

bool read(JsonReader &json, Instant now, Note &note)
{
    std::optional<QUuid> id;
    std::optional<Instant> createdAt;
    std::optional<Instant> lastEditedAt;
    const bool isGood = json.object([&](QByteArrayView key) {
        if (json.takeNull()) // as if the member were missing
            return true;
        if (key == "body")
            return read(json, note.body);
        if (key == "createdAt")
            return read(json, createdAt);
        if (key == "id")
            return read(json, id);
        if (key == "isPinned")
            return take(note.isPinned, json.boolean());
        if (key == "lastEditedAt")
            return read(json, lastEditedAt);
        return json.skip();
    });
    note.id = id ? *id : QUuid::createUuid();
    note.createdAt = createdAt.value_or(now);
    note.lastEditedAt = lastEditedAt.value_or(note.createdAt);
    return isGood;
}

bool read(JsonReader &json, Instant, Tombstone &tombstone)
{
    std::optional<QUuid> id;
    std::optional<Instant> deletedAt;
    const bool isGood = json.object([&](QByteArrayView key) {
        if (key == "deletedAt")
            return read(json, deletedAt);
        if (key == "id")
            return read(json, id);
        return json.skip();
    });
    tombstone = {id.value_or(QUuid()), deletedAt.value_or(Instant())};
    return isGood && id && deletedAt;
}

template <class Record>
bool read(JsonReader &json, Instant now, std::vector<Record> &records)
{
    records.clear();
    return json.array([&] { return read(json, now, records.emplace_back()); });
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
    JsonReader json(bytes);
    OnDisk content;
    const bool isGood = json.object([&](QByteArrayView key) {
        if (json.takeNull())
            return true;
        if (key == "notes")
            return read(json, now, content.notes);
        if (key == "tombstones")
            return read(json, now, content.tombstones);
        if (key == "version")
            return take(content.version, json.integer());
        return json.skip();
    });
    if (!isGood || !json.isAtEnd())
        return std::nullopt;
    return content;
}

} // namespace Brevio::StoreFile
