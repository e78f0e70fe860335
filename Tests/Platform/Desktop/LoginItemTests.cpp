#include "Platform/Desktop/LoginItem.h"
#include "Platform/Storage/Files.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
namespace Files = Platform::Files;
using Platform::LoginItem;
using Origin = LoginItem::Origin;
using Status = LoginItem::Status;

static const QString fileName = u"autostart/org.example.Tea.desktop"_s;

class LoginItemTests final : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<LoginItem> m_item;

    QString in(const QString &name) const { return m_folder->filePath(name); }
    QString own() const { return in(u"own/"_s + fileName); }
    QString systems() const { return in(u"systems/"_s + fileName); }
    static bool put(const QString &path, const QByteArray &bytes)
    {
        return Files::makeFolder(QFileInfo(path).path()) && Files::replaceAtomically(path, bytes);
    }

private Q_SLOTS:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        qputenv("XDG_CONFIG_HOME", in(u"own"_s).toUtf8());
        qputenv("XDG_CONFIG_DIRS", in(u"nothing:"_s).toUtf8() + in(u"systems"_s).toUtf8());
        qputenv("XDG_CURRENT_DESKTOP", "ubuntu:GNOME");
        const QString program = in(u"my tea"_s); // a space has to be quoted
        QVERIFY(put(program, "#!/bin/sh\n"));
        QVERIFY(QFile::setPermissions(program, QFile::ReadOwner | QFile::ExeOwner));
        m_item = LoginItem::create({u"org.example.Tea"_s, u"Tea"_s, program});
    }

    /// Each file as the user's own, and what each of the three operations makes of it.
    void anEntryIsReadAndChangedWithCare_data()
    {
        QTest::addColumn<QByteArray>("entry");
        QTest::addColumn<Status>("status");
        QTest::addColumn<QByteArray>("afterUser"); // ours: the rest of the file; empty: unchanged
        const QByteArray top = "[Desktop Entry]\n";
        const QByteArray good = top + "Exec=sh -c true\n";
        const QByteArray on = good + "Hidden=false\n";
        const auto row = [](const char *name, const QByteArray &entry, Status status,
                            const QByteArray &after = {}) {
            QTest::newRow(name) << entry << status << after;
        };
        row("enabled", good, Status::Enabled);
        row("hidden", good + "X-Own=1\nHidden=true\n[A]\nHidden=true\n", Status::RequiresApproval,
            good + "X-Own=1\nHidden=false\n[A]\nHidden=true\n");
        row("off in GNOME", good + "X-GNOME-Autostart-enabled=False\n\n[A]\nB=1",
            Status::RequiresApproval,
            good + "X-GNOME-Autostart-enabled=true\nHidden=false\n\n[A]\nB=1");
        row("only elsewhere", good + "OnlyShowIn=KDE;\n", Status::RequiresApproval, on);
        row("not here", good + "NotShowIn=KDE;ubuntu\n", Status::RequiresApproval, on);
        row("program gone", top + "Exec=/gone/tea\nX-Own=1\n", Status::NotRegistered,
            top + "Exec=\"PROGRAM\"\nX-Own=1\nTryExec=PROGRAM\nHidden=false\n");
        const QByteArray fresh = top + "Type=Application\nName=Tea\nIcon=org.example.Tea\n"
                                       "Exec=\"PROGRAM\"\nTryExec=PROGRAM\nHidden=false\n";
        row("none", {}, Status::NotRegistered, fresh);
    }
    void anEntryIsReadAndChangedWithCare()
    {
        QFETCH(QByteArray, entry);
        QFETCH(Status, status);
        QFETCH(QByteArray, afterUser);
        const auto start = [&] { return entry.isEmpty() || put(own(), entry); };
        const auto content = [&] { return Files::read(own()).value_or(QByteArray()); };
        afterUser.replace("PROGRAM", in(u"my tea"_s).toUtf8());
        QVERIFY(start());
        QCOMPARE(m_item->status(), status);
        if (status != Status::Enabled) {
            QVERIFY(m_item->unregisterItem());
            QCOMPARE(content(), entry);
        }
        const bool isRefused = status == Status::RequiresApproval;
        QCOMPARE(m_item->registerItem(Origin::Launch), !isRefused);
        QCOMPARE(content(), isRefused || afterUser.isEmpty() ? entry : afterUser);
        QVERIFY(start());
        QVERIFY(m_item->registerItem(Origin::User));
        QCOMPARE(content(), afterUser.isEmpty() ? entry : afterUser);
        QCOMPARE(m_item->status(), Status::Enabled);
        QVERIFY(m_item->unregisterItem());
        QVERIFY(!QFile::exists(own()));
    }

    void aSystemWideEntryIsMaskedAndUnmasked()
    {
        const QByteArray entry = "[Desktop Entry]\nExec=sh\n";
        QVERIFY(put(systems(), entry));
        QCOMPARE(m_item->status(), Status::Enabled);
        QVERIFY(m_item->unregisterItem());
        QCOMPARE(m_item->status(), Status::RequiresApproval);
        QVERIFY(!m_item->registerItem(Origin::Launch));
        QVERIFY(m_item->registerItem(Origin::User));
        QCOMPARE(m_item->status(), Status::Enabled);
        QCOMPARE(Files::read(systems()), entry);
    }
};

QTEST_GUILESS_MAIN(LoginItemTests)
#include "LoginItemTests.moc"
