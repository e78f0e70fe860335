#include "Platform/Keyboard/ReservedShortcuts.h"
#include "Tests/Support/FakeKeyboardLayout.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace Platform;

namespace {

constexpr ModifierFlags shift = Modifier::Shift, super = Modifier::Control, alt = Modifier::Option,
                        ctrl = Modifier::Command;
using List = std::vector<KeyCombination>;

void write(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    QVERIFY(QDir().mkpath(QFileInfo(path).path()) && file.open(QIODevice::WriteOnly));
    file.write(bytes);
    file.setPermissions(file.permissions() | QFile::ExeOwner);
}

} // namespace

class ReservedShortcutsTests final : public QObject
{
    Q_OBJECT

    FakeKeyboardLayout m_layout; // a German one: Z stands where Y does on a US keyboard
    QTemporaryDir m_folder;

    QString place(const QString &name) const { return m_folder.filePath(name); }
    List asked(const char *desktop) const
    {
        qputenv("XDG_CURRENT_DESKTOP", desktop);
        return reservedShortcuts(m_layout);
    }

private Q_SLOTS:
    void initTestCase()
    {
        m_layout.characters = {{16, u"z"_s}, {6, u"y"_s}};
        qputenv("XDG_CONFIG_HOME", place(u"config"_s).toUtf8());
        qputenv("XDG_CONFIG_DIRS", place(u"system"_s).toUtf8());
    }

    void acceleratorsAndKeySequencesNamePhysicalKeys()
    {
        // clang-format off
        const struct { const char *gtk; const char *qt; int keyCode; ModifierFlags modifiers; } rows[] = {
            {"<Primary><Alt>t",  "Ctrl+Alt+T",     17,  ctrl | alt},
            {"<Control>z",       "Ctrl+Z",         16,  ctrl},
            {"<Super>Page_Up",   "Meta+PgUp",      116, super},
            {"<Shift><Mod4>Tab", "Meta+Shift+Tab", 48,  shift | super},
            {"<Super>comma",     "Meta+,",         43,  super},
            {"<Super>Above_Tab", "Meta+`",         50,  super},
        };
        // clang-format on
        for (const auto &[gtk, qt, keyCode, modifiers] : rows) {
            const KeyCombination expected{keyCode, modifiers};
            const auto ofGtk = ReservedShortcuts::fromAccelerator(QLatin1String(gtk), m_layout);
            const auto ofQt = ReservedShortcuts::fromKeySequence(QLatin1String(qt), m_layout);
            QVERIFY2(ofGtk == expected && ofQt == expected, gtk);
        }
    }

    void gnomeIsAskedThroughItsTool()
    {
        write(place(u"bin/gsettings"_s), R"(#!/bin/sh
case "$*" in
*wm.keybindings) echo "org.gnome.desktop.wm.keybindings close ['<Alt>F4', '<Super>q']"
                 echo "org.gnome.desktop.wm.keybindings always-on-top @as []" ;;
*shell.keybindings) echo "x y ['F11', 'XF86Eject', '<Super>1']" ;;
"list-recursively"*media-keys) echo "org.x custom-keybindings ['/custom0/', '/custom1/']"
                               echo "org.x home ['disabled']" ;;
"get"*media-keys.custom-keybinding:/custom1/\ binding) echo "'<Primary><Alt>Return'" ;;
*) echo "No such schema" >&2; exit 1 ;;
esac
)");
        const auto path = qgetenv("PATH");
        qputenv("PATH", place(u"bin"_s).toUtf8() + ':' + path);
        const auto found = asked("ubuntu:GNOME");
        qputenv("PATH", path);
        QVERIFY(found == (List{{118, alt}, {12, super}, {103, 0}, {18, super}, {36, ctrl | alt}}));
    }

    void kdeWritesAFile()
    {
        write(place(u"config/kglobalshortcutsrc"_s), R"([kwin]
Overview=Meta+W\tMeta+Tab,Meta+W,Toggle Overview
Window Close=none,Alt+F4,Close Window
Zoom=Meta+\,,none,Zoom
_k_friendly_name=F5
[services][org.kde.krunner.desktop]
_launch=Alt+Space
)");
        QVERIFY(asked("KDE") == (List{{13, super}, {48, super}, {43, super}, {49, alt}}));
    }

    void xfceHidesTheSystemsSetOnceTheUserOverridesIt()
    {
        const auto file = u"/xfce4/xfconf/xfce-perchannel-xml/xfce4-keyboard-shortcuts.xml"_s;
        write(place(u"system"_s) + file, R"(<?xml version="1.0"?>
<channel name="xfce4-keyboard-shortcuts" version="1.0">
 <property name="commands"><property name="default">
  <property name="&lt;Alt&gt;F1" type="string" value="menu"/></property></property>
 <property name="xfwm4"><property name="default">
  <property name="&lt;Alt&gt;F4" type="string" value="close_window_key"/></property></property>
</channel>)");
        QVERIFY(asked("XFCE") == (List{{122, alt}, {118, alt}}));
        write(place(u"config"_s) + file, R"(<channel name="xfce4-keyboard-shortcuts" version="1.0">
 <property name="commands"><property name="custom">
  <property name="override" type="bool" value="true"/>
  <property name="&lt;Super&gt;e" type="string" value="files">
   <property name="startup-notify" type="bool" value="true"/></property>
  <property name="&lt;Super&gt;t" type="empty"/></property></property>
</channel>)");
        QVERIFY(asked("XFCE") == (List{{14, super}, {118, alt}}));
    }
};

QTEST_MAIN(ReservedShortcutsTests)
#include "ReservedShortcutsTests.moc"
