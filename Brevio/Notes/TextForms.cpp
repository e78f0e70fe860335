#include "Brevio/Notes/TextForms.h"

#include <algorithm>

namespace Brevio::TextForms {

namespace {

using namespace std::chrono;
using Platform::Instant;

constexpr sys_seconds earliest = sys_days{year{1} / January / 1};
constexpr sys_seconds latest = sys_days{year{9999} / December / 31} + 24h - 1s;

// In these, 'h' stands for a hexadecimal and '0' for a decimal digit.
constexpr QByteArrayView identifierForm = "hhhhhhhh-hhhh-hhhh-hhhh-hhhhhhhhhhhh";
constexpr QByteArrayView dateForm = "0000-00-00T00:00:00";
constexpr QByteArrayView plusForm = "+00:00";
constexpr QByteArrayView minusForm = "-00:00";

bool isDecimal(char c)
{
    return c >= '0' && c <= '9';
}

bool isHexadecimal(char c)
{
    return isDecimal(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

bool hasForm(QByteArrayView text, QByteArrayView form)
{
    return std::equal(text.begin(), text.end(), form.begin(), form.end(), [](char c, char wanted) {
        return wanted == '0' ? isDecimal(c) : wanted == 'h' ? isHexadecimal(c) : c == wanted;
    });
}

int number(QByteArrayView text, int at, int length)
{
    int value = 0;
    for (int i = at; i < at + length; ++i)
        value = value * 10 + (text[i] - '0');
    return value;
}

/// Hours and minutes at this place, as on a clock.
std::optional<minutes> clockTime(QByteArrayView text, int at)
{
    const int hour = number(text, at, 2);
    const int minute = number(text, at + 3, 2);
    if (hour > 23 || minute > 59)
        return std::nullopt;
    return hours{hour} + minutes{minute};
}

/// How far the designator at the end of a date says that local time is ahead.
std::optional<minutes> offset(QByteArrayView text)
{
    if (text == "Z")
        return minutes::zero();
    if (!hasForm(text, plusForm) && !hasForm(text, minusForm))
        return std::nullopt;
    const auto size = clockTime(text, 1);
    return size && text.front() == '-' ? -*size : size;
}

} // namespace

QByteArray fromIdentifier(const QUuid &id)
{
    return id.toByteArray(QUuid::WithoutBraces).toUpper();
}

std::optional<QUuid> toIdentifier(QByteArrayView text)
{
    if (!hasForm(text, identifierForm))
        return std::nullopt;
    return QUuid::fromString(QLatin1StringView(text));
}

QByteArray fromInstant(Instant time)
{
    const auto second = std::clamp(floor<seconds>(time), earliest, latest);
    const auto day = floor<days>(second);
    const year_month_day date(day);
    const hh_mm_ss clock(second - day);

    QByteArray text = dateForm.toByteArray() + 'Z';
    const auto put = [&](int at, int length, unsigned value) {
        for (int i = at + length - 1; i >= at; --i, value /= 10)
            text[i] = static_cast<char>('0' + value % 10);
    };
    put(0, 4, static_cast<unsigned>(static_cast<int>(date.year())));
    put(5, 2, static_cast<unsigned>(date.month()));
    put(8, 2, static_cast<unsigned>(date.day()));
    put(11, 2, static_cast<unsigned>(clock.hours().count()));
    put(14, 2, static_cast<unsigned>(clock.minutes().count()));
    put(17, 2, static_cast<unsigned>(clock.seconds().count()));
    return text;
}

std::optional<Instant> toInstant(QByteArrayView text)
{
    if (!hasForm(text.first(std::min(text.size(), dateForm.size())), dateForm))
        return std::nullopt;
    const auto ahead = offset(text.sliced(dateForm.size()));
    const auto clock = clockTime(text, 11);
    const auto date = year{number(text, 0, 4)} / number(text, 5, 2) / number(text, 8, 2);
    const int second = number(text, 17, 2);
    if (!ahead || !clock || !date.ok() || second > 59)
        return std::nullopt;
    // An offset can push a date at the very edge out of what can be written again.
    return std::clamp(sys_days{date} + *clock + seconds{second} - *ahead, earliest, latest);
}

} // namespace Brevio::TextForms
