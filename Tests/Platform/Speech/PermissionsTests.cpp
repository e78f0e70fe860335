#include "Platform/Speech/Permissions.h"
#include "Platform/Storage/UserDefaults.h"
#include "Tests/Support/ManualTime.h"

#include <QAbstractButton>
#include <QApplication>
#include <QMessageBox>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace Platform;

namespace {

constexpr auto microphone = Permission::Microphone;
const auto key = u"brevio.microphoneAllowed"_s;

QMessageBox *question()
{
    for (QWidget *widget : QApplication::topLevelWidgets())
        if (auto *sheet = qobject_cast<QMessageBox *>(widget); sheet && sheet->isVisible())
            return sheet;
    return nullptr;
}

} // namespace

class PermissionsTests final : public QObject
{
    Q_OBJECT

    QTemporaryDir m_folder;
    ManualQueue m_queue;
    std::unique_ptr<QWidget> m_window;
    std::unique_ptr<UserDefaults> m_defaults;
    std::unique_ptr<Permissions> m_permissions;
    QString m_answers;

    /// What a later process would have.
    void begin(const QString &sandboxMark = u"/nowhere"_s)
    {
        m_permissions.reset();
        m_defaults = std::make_unique<UserDefaults>(m_folder.filePath(u"defaults.json"_s), m_queue);
        m_permissions = Permissions::createForDesktop(
            *m_defaults, [this] { return m_window.get(); }, sandboxMark);
        m_answers.clear();
    }
    void ask(Permission permission = microphone)
    {
        const auto before = m_answers;
        m_permissions->requestAccess(permission,
                                     [this](bool yes) { m_answers += yes ? u'+' : u'-'; });
        QCOMPARE(m_answers, before);
    }

private Q_SLOTS:
    void initTestCase()
    {
        qunsetenv("DBUS_SESSION_BUS_ADDRESS");
        qputenv("XDG_RUNTIME_DIR", "/nonexistent");
    }
    void init()
    {
        m_window = std::make_unique<QWidget>();
        m_window->show();
        QFile::remove(m_folder.filePath(u"defaults.json"_s));
        begin();
    }

    void everyCallerHearsAYesAndALaterProcessRemembersIt()
    {
        ask();
        const QPointer<QMessageBox> sheet = question();
        QVERIFY(sheet && sheet->parent() == m_window.get());
        QVERIFY(sheet->text().contains(u"microphone"));
        ask();
        QCOMPARE(m_window->findChildren<QMessageBox *>().size(), 1);
        // Dismissed and summoned again, unanswered.
        m_window->hide();
        m_window->show();
        QTRY_COMPARE(question(), sheet.data());
        sheet->buttons().at(1)->click();
        ask();
        QTRY_COMPARE(m_answers, u"+++"_s);
        ask(Permission::SpeechRecognition);
        QVERIFY(question()->text().contains(u"speech recognition"));
    }

    void onlyAYesThatWasMeantIsAYes()
    {
        const std::initializer_list<std::tuple<QJsonValue, QList<Qt::Key>, QString>> cases{
            {{}, {Qt::Key_Return}, u"--"_s},
            {1, {}, u"--"_s}, // closed
            {u"true"_s, {Qt::Key_Tab, Qt::Key_Space}, u"++"_s}};
        for (const auto &[stored, keys, answers] : cases) {
            begin();
            m_defaults->set(key, stored);
            ask();
            QMessageBox *sheet = question();
            QVERIFY(sheet && QTest::qWaitForWindowActive(sheet));
            for (const auto pressed : keys)
                QTest::keyClick(sheet->focusWidget(), pressed);
            if (keys.isEmpty())
                sheet->close();
            QTRY_COMPARE(m_answers, answers.first(1));
            ask();
            QVERIFY(!question());
            QTRY_COMPARE(m_answers, answers);
            // A later process is told of no refusal.
            begin();
            ask();
            QCOMPARE(question() == nullptr, answers == u"++");
        }
    }

    void theWindowTheObjectAndTheCallerMayGo()
    {
        ask();
        m_window.reset();
        QTRY_COMPARE(m_answers, u"-"_s);
        ask();
        const QPointer<QMessageBox> free = question();
        QVERIFY(free && !free->parent());
        begin();
        QVERIFY(!free);
        m_permissions->requestAccess(microphone, [this](bool) { m_permissions.reset(); });
        question()->buttons().at(0)->click();
        QTRY_VERIFY(!m_permissions);
        QCOMPARE(m_answers, QString());
    }

    void aSandboxWithoutAPortalAsksTheUser()
    {
        begin(QCoreApplication::applicationFilePath());
        ask();
        QVERIFY(question());
        question()->buttons().at(1)->click();
        QTRY_COMPARE(m_answers, u"+"_s);
        QVERIFY2(m_permissions->asksFor(microphone), "a portal may come and say no");
    }
};

QTEST_MAIN(PermissionsTests)
#include "PermissionsTests.moc"
