#include "Platform/Keyboard/ReservedShortcuts.h"

#include "Platform/Keyboard/KeyboardLayout.h"
#include "Platform/Storage/Files.h"

#include <QDeadlineTimer>
#include <QKeySequence>
#include <QLoggingCategory>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QXmlStreamReader>

#include <xkbcommon/xkbcommon.h>

#include <map>

namespace Platform {

namespace {

using Combinations = std::vector<KeyCombination>;

Q_LOGGING_CATEGORY(reservedLog, "brevio.reservedshortcuts", QtWarningMsg)

// clang-format off
constexpr int       gsettingsLimit    = 1000;       // ms for all the questions together
constexpr int       maxCustomBindings = 64;
constexpr qsizetype maxFileSize       = 1 << 20;    // bytes; real files have some ten thousand
constexpr int       lastMainKey       = 50;         // the higher codes are the keypad's and others'

const QString gsettings     = QStringLiteral("gsettings");
const QString mediaKeys     = QStringLiteral("org.gnome.settings-daemon.plugins.media-keys");
const QString customBinding = QStringLiteral("org.gnome.settings-daemon.plugins.media-keys.custom-keybinding");
const QString gnomeSchemas[] = {
    QStringLiteral("org.gnome.desktop.wm.keybindings"),
    QStringLiteral("org.gnome.shell.keybindings"),
    QStringLiteral("org.gnome.mutter.keybindings"),
    QStringLiteral("org.gnome.mutter.wayland.keybindings"),
    mediaKeys,
};

const QString kdeFile  = QStringLiteral("kglobalshortcutsrc");
const QString xfceFile = QStringLiteral("xfce4/xfconf/xfce-perchannel-xml/xfce4-keyboard-shortcuts.xml");

constexpr struct { const char *name; ModifierFlags flag; } acceleratorModifiers[] = {
    {"primary", Modifier::Command}, {"control", Modifier::Command}, {"ctrl", Modifier::Command},
    {"ctl",     Modifier::Command}, {"shift",   Modifier::Shift},   {"shft", Modifier::Shift},
    {"alt",     Modifier::Option},  {"mod1",    Modifier::Option},  {"super", Modifier::Control},
    {"mod4",    Modifier::Control},
};

// The keys that GTK and Qt call by different names; Above_Tab is the window manager's own.
constexpr struct { const char *gtk; Qt::Key key; } acceleratorKeys[] = {
    {"page_up", Qt::Key_PageUp},   {"page_down", Qt::Key_PageDown}, {"prior", Qt::Key_PageUp},
    {"next",    Qt::Key_PageDown}, {"escape",    Qt::Key_Escape},   {"delete", Qt::Key_Delete},
    {"insert",  Qt::Key_Insert},   {"iso_left_tab", Qt::Key_Tab},   {"space", Qt::Key_Space},
    {"kp_enter", Qt::Key_Enter},   {"above_tab", Qt::Key_QuoteLeft},
};
// clang-format on

int keyCodeOf(char32_t character, const KeyboardLayout &layout)
{
    const auto wanted = QString::fromUcs4(&character, 1).toLower();
    for (int keyCode = 0; keyCode <= lastMainKey; ++keyCode) {
        if (layout.character(keyCode) == wanted)
            return keyCode;
    }
    return KeyEvent::unknownKeyCode;
}

std::optional<KeyCombination> combinationOf(int qtKey, ModifierFlags modifiers,
                                            const KeyboardLayout &layout)
{
    int keyCode = KeyEvent::unknownKeyCode;
    if (qtKey > Qt::Key_Space && qtKey < Qt::Key_Escape)
        keyCode = keyCodeOf(static_cast<char32_t>(qtKey), layout);
    if (keyCode == KeyEvent::unknownKeyCode)
        keyCode = keyCodeOfQtKey(qtKey, {});
    return keyCode == KeyEvent::unknownKeyCode ? std::nullopt
                                               : std::optional(KeyCombination{keyCode, modifiers});
}

/// Zero for a name that is no key's.
int qtKeyOfAcceleratorName(const QString &name)
{
    const auto lower = name.toLower();
    for (const auto &row : acceleratorKeys) {
        if (lower == QLatin1String(row.gtk))
            return row.key;
    }
    const auto symbol =
        xkb_keysym_from_name(name.toUtf8().constData(), XKB_KEYSYM_CASE_INSENSITIVE);
    if (symbol == XKB_KEY_NoSymbol)
        return 0;
    if (const auto character = xkb_keysym_to_utf32(symbol); character > U' ' && character != 0x7F)
        return static_cast<int>(QChar::toUpper(character));
    // Both call the rest alike: F1, Left, Home, Return.
    const QKeySequence sequence(name, QKeySequence::PortableText);
    return sequence.count() == 1 && sequence[0].keyboardModifiers() == Qt::NoModifier
               ? sequence[0].key()
               : 0;
}

std::optional<QByteArray> readSmall(const QString &path)
{
    auto bytes = Files::read(path);
    return bytes && bytes->size() <= maxFileSize ? bytes : std::nullopt;
}

std::vector<QByteArray> configFiles(const QString &name)
{
    std::vector<QByteArray> files;
    const auto paths = QStandardPaths::locateAll(QStandardPaths::GenericConfigLocation, name);
    for (const auto &path : paths) {
        if (auto bytes = readSmall(path))
            files.push_back(*std::move(bytes));
    }
    return files;
}

/// Asks all the questions at once. What is not answered in time, or not at all, is empty or left
/// out.
QStringList askGSettings(const std::vector<QStringList> &questions, const QDeadlineTimer &deadline)
{
    std::vector<std::unique_ptr<QProcess>> asked;
    for (const auto &arguments : questions) {
        if (deadline.hasExpired())
            break;
        auto process = std::make_unique<QProcess>();
        process->setStandardErrorFile(QProcess::nullDevice());
        process->setStandardInputFile(QProcess::nullDevice());
        process->start(gsettings, arguments);
        asked.push_back(std::move(process));
    }
    QStringList answers;
    for (const auto &process : asked) {
        if (process->waitForFinished(static_cast<int>(deadline.remainingTime()))) {
            answers << QString::fromUtf8(process->readAllStandardOutput().left(maxFileSize));
            continue;
        }
        qCInfo(reservedLog, "gsettings %s: %s", qUtf8Printable(process->arguments().join(u' ')),
               qUtf8Printable(process->errorString()));
        answers << QString();
        process->kill();
        process->waitForFinished();
    }
    return answers;
}

QStringList quotedTexts(const QString &listing)
{
    static const QRegularExpression quoted(QStringLiteral("'([^'\\n]*)'"));
    QStringList texts;
    for (auto each = quoted.globalMatch(listing); each.hasNext();)
        texts << each.next().captured(1);
    return texts;
}

/// The accelerators among the quoted texts of what gsettings prints.
Combinations fromGSettings(const QString &listing, const KeyboardLayout &layout)
{
    Combinations combinations;
    for (const auto &text : quotedTexts(listing)) {
        if (const auto combination = ReservedShortcuts::fromAccelerator(text, layout))
            combinations.push_back(*combination);
    }
    return combinations;
}

Combinations reservedByGnome(const KeyboardLayout &layout)
{
    const QDeadlineTimer deadline(gsettingsLimit);
    std::vector<QStringList> questions;
    for (const auto &schema : gnomeSchemas)
        questions.push_back({QStringLiteral("list-recursively"), schema});
    const auto listings = askGSettings(questions, deadline);

    // The user's own commands are each in a place that the media keys' list names.
    questions.clear();
    for (const auto &text : quotedTexts(listings.join(u'\n'))) {
        if (text.startsWith(u'/') && questions.size() < maxCustomBindings)
            questions.push_back(
                {QStringLiteral("get"), customBinding + u':' + text, QStringLiteral("binding")});
    }
    const auto custom = askGSettings(questions, deadline);
    return fromGSettings((listings + custom).join(u'\n'), layout);
}

/// What KDE's kglobalshortcutsrc binds.
Combinations fromKGlobalShortcuts(const QByteArray &file, const KeyboardLayout &layout)
{
    // action=shortcuts,defaults,description; alternatives are set apart by tabs, which are written
    // as \t, and a comma inside a shortcut as \,
    static const QRegularExpression endOfShortcuts(QStringLiteral("(?<!\\\\),"));
    static const QRegularExpression separator(QStringLiteral("\\\\t|\\t"));
    Combinations combinations;
    const auto lines = QString::fromUtf8(file).split(u'\n');
    for (const auto &line : lines) {
        const auto equals = line.indexOf(u'=');
        if (equals < 0 || line.startsWith(QLatin1String("_k_friendly_name")))
            continue;
        auto value = line.mid(equals + 1).trimmed();
        if (const auto end = value.indexOf(endOfShortcuts); end >= 0)
            value.truncate(end);
        for (auto text : value.split(separator)) {
            text.remove(u'\\');
            if (const auto combination = ReservedShortcuts::fromKeySequence(text, layout))
                combinations.push_back(*combination);
        }
    }
    return combinations;
}

/// One of the two sets of bindings (commands, the window manager's), as one file has it.
struct XfceSet
{
    Combinations defaults;
    Combinations custom;
    bool isOverridden = false; ///< The custom ones count, else the defaults.
};

std::map<QString, XfceSet> readXfconf(const QByteArray &file, const KeyboardLayout &layout)
{
    // channel, the set, "default" or "custom", the binding
    constexpr int bindingDepth = 4;
    std::map<QString, XfceSet> sets;
    QStringList path;
    QXmlStreamReader xml(file);
    while (!xml.atEnd()) {
        const auto token = xml.readNext();
        if (token == QXmlStreamReader::EndElement && !path.isEmpty())
            path.removeLast();
        if (token != QXmlStreamReader::StartElement)
            continue;
        const auto attributes = xml.attributes();
        const auto name = attributes.value(QLatin1String("name")).toString();
        const auto value = attributes.value(QLatin1String("value"));
        path << name;
        if (path.size() != bindingDepth || value.isEmpty())
            continue;
        auto &set = sets[path[1]];
        const bool isCustom = path[2] == QLatin1String("custom");
        if (name == QLatin1String("override"))
            set.isOverridden |= isCustom && value == QLatin1String("true");
        else if (const auto combination = ReservedShortcuts::fromAccelerator(name, layout))
            (isCustom ? set.custom : set.defaults).push_back(*combination);
    }
    return sets;
}

/// What the xfce4-keyboard-shortcuts channel binds. The user's file comes first, the system's after
/// it; a set of bindings that one of them overrides hides those of the same set elsewhere.
Combinations fromXfconf(const std::vector<QByteArray> &files, const KeyboardLayout &layout)
{
    std::map<QString, XfceSet> merged;
    for (const auto &file : files) {
        for (const auto &[name, set] : readXfconf(file, layout)) {
            auto &whole = merged[name];
            whole.defaults.insert(whole.defaults.end(), set.defaults.begin(), set.defaults.end());
            if (set.isOverridden && !std::exchange(whole.isOverridden, true))
                whole.custom = set.custom;
        }
    }
    Combinations combinations;
    for (const auto &[name, set] : merged) {
        const auto &used = set.isOverridden ? set.custom : set.defaults;
        combinations.insert(combinations.end(), used.begin(), used.end());
    }
    return combinations;
}

} // namespace

namespace ReservedShortcuts {

std::optional<KeyCombination> fromAccelerator(const QString &text, const KeyboardLayout &layout)
{
    ModifierFlags modifiers = 0;
    qsizetype from = 0;
    while (text.mid(from, 1) == QLatin1String("<")) {
        const auto end = text.indexOf(u'>', from);
        const auto name = text.mid(from + 1, end - from - 1).toLower();
        const auto row =
            std::find_if(std::begin(acceleratorModifiers), std::end(acceleratorModifiers),
                         [&](const auto &each) { return name == QLatin1String(each.name); });
        if (end < 0 || row == std::end(acceleratorModifiers))
            return std::nullopt;
        modifiers |= row->flag;
        from = end + 1;
    }
    const int key = qtKeyOfAcceleratorName(text.mid(from));
    return key == 0 ? std::nullopt : combinationOf(key, modifiers, layout);
}

std::optional<KeyCombination> fromKeySequence(const QString &text, const KeyboardLayout &layout)
{
    const QKeySequence sequence(text, QKeySequence::PortableText);
    if (sequence.count() != 1 || sequence[0].key() == Qt::Key_unknown)
        return std::nullopt;
    const auto held = sequence[0].keyboardModifiers() & ~Qt::KeypadModifier;
    return combinationOf(sequence[0].key(), modifierFlags(held), layout);
}

} // namespace ReservedShortcuts

Combinations reservedShortcuts(const KeyboardLayout &layout)
{
    const auto desktops = qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(u':');
    if (desktops.contains(QLatin1String("GNOME"), Qt::CaseInsensitive))
        return reservedByGnome(layout);
    if (desktops.contains(QLatin1String("KDE"), Qt::CaseInsensitive)) {
        const auto files = configFiles(kdeFile);
        return files.empty() ? Combinations() : fromKGlobalShortcuts(files.front(), layout);
    }
    if (desktops.contains(QLatin1String("XFCE"), Qt::CaseInsensitive))
        return fromXfconf(configFiles(xfceFile), layout);
    return {};
}

} // namespace Platform
