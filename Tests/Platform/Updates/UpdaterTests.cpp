#include "Platform/Updates/UpdaterController.h"
#include "Tests/Support/ManualTime.h"

#include <QApplication>
#include <QDialog>
#include <QDir>
#include <QLabel>
#include <QPlainTextEdit>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>

#include <sodium.h>

using namespace Platform;
using namespace std::chrono_literals;

namespace {

/// A web server on this machine that answers each path with just these bytes.
class Server final : public QTcpServer
{
public:
    Server()
    {
        listen(QHostAddress::LocalHost);
        connect(this, &QTcpServer::newConnection, this, [this] {
            QTcpSocket *socket = nextPendingConnection();
            connect(socket, &QTcpSocket::readyRead, socket, [this, socket] {
                const QByteArray path = socket->readAll().split(' ').value(1);
                socket->write(answers.value(path));
                if (!isSilent)
                    socket->disconnectFromHost();
            });
        });
    }

    [[nodiscard]] QByteArray address(const QByteArray &path) const
    {
        return "http://127.0.0.1:" + QByteArray::number(serverPort()) + path;
    }
    static QByteArray answer(const QByteArray &head, const QByteArray &body = {})
    {
        return "HTTP/1.1 " + head + "\r\n\r\n" + body;
    }
    static QByteArray redirect(const QByteArray &to)
    {
        return answer("302 Found\r\nContent-Length: 0\r\nLocation: " + to);
    }
    static QByteArray file(const QByteArray &body)
    {
        return answer("200 OK\r\nContent-Length: " + QByteArray::number(body.size()), body);
    }

    QMap<QByteArray, QByteArray> answers;
    bool isSilent = false; ///< leaves the connection open after its answer
};

QDialog *dialog()
{
    for (QWidget *widget : QApplication::topLevelWidgets())
        if (auto *found = qobject_cast<QDialog *>(widget); found && found->isVisible())
            return found;
    return nullptr;
}

/// All that the dialog says.
QString said()
{
    QString text;
    for (const QLabel *label : dialog() ? dialog()->findChildren<QLabel *>() : QList<QLabel *>())
        text += label->text() + u'\n';
    return text;
}

} // namespace

using Action = std::function<void()>;

/// A check for updates against a real server, through its dialogs, with what it leaves behind.
class UpdaterTests final : public QObject
{
    Q_OBJECT

    QByteArray package = "a package " + QByteArray(100000, '\x5a');
    QByteArray publicKey{crypto_sign_ed25519_PUBLICKEYBYTES, '\0'};
    QByteArray signature{crypto_sign_ed25519_BYTES, '\0'};
    std::unique_ptr<QTemporaryDir> home;
    std::unique_ptr<Server> server;
    std::unique_ptr<ManualQueue> queue;
    std::unique_ptr<UpdaterController> controller;
    QByteArray address;
    QUrl opened;

    QByteArray feed(const QByteArray &version = "0.2.0")
    {
        return "<rss><channel><item><description>&lt;p>New:&lt;/p>&lt;ul>&lt;li>Undo"
               "</description><enclosure url='" +
               server->address("/p/b_1.deb") + "' length='" + QByteArray::number(package.size()) +
               "' version='" + version + "' edSignature='" + signature.toBase64() +
               "'/></item></channel></rss>";
    }

    void check()
    {
        controller = std::make_unique<UpdaterController>(
            UpdateConfiguration{QStringLiteral("Brevio"), QStringLiteral("0.1.0"),
                                QString::fromLatin1(address),
                                QString::fromLatin1(publicKey.toBase64())},
            *queue, [this](const QUrl &file) {
                opened = file;
                return false; // there is no program for it
            });
        controller->checkForUpdates(nullptr);
    }

    QString path(const char *name) const { return home->filePath(QString::fromLatin1(name)); }
    QStringList left(const char *folder) const
    {
        return QDir(path(folder)).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }

private Q_SLOTS:
    void initTestCase()
    {
        unsigned char secret[crypto_sign_ed25519_SECRETKEYBYTES];
        const auto raw = [](QByteArray &bytes) {
            return reinterpret_cast<unsigned char *>(bytes.data());
        };
        crypto_sign_ed25519_keypair(raw(publicKey), secret);
        crypto_sign_ed25519_detached(raw(signature), nullptr, raw(package),
                                     static_cast<unsigned long long>(package.size()), secret);
    }

    void init()
    {
        home = std::make_unique<QTemporaryDir>();
        QDir(home->path()).mkdir(QStringLiteral("tmp"));
        qputenv("HOME", home->path().toLocal8Bit());
        qputenv("XDG_CONFIG_HOME", path("config").toLocal8Bit());
        qputenv("TMPDIR", path("tmp").toLocal8Bit());
        server = std::make_unique<Server>();
        server->answers = {{"/feed", Server::file(feed())}, {"/p/b_1.deb", Server::file(package)}};
        address = server->address("/feed");
        queue = std::make_unique<ManualQueue>();
    }

    void cleanup()
    {
        controller.reset();
        qputenv("TMPDIR", "/tmp");
        QCOMPARE(dialog(), nullptr);
    }

    void aVerifiedUpdateLandsInDownloads()
    {
        QDir(home->path()).mkdir(QStringLiteral("Downloads"));
        QVERIFY(QFile::link(path("nowhere"), path("Downloads/_.b_c_.deb"))); // which stays
        QByteArray xml = feed("0.10.0");
        xml.replace("b_1.deb", "..%2F.-~%01.b%3Cc%3E.deb");
        server->answers = {{"/feed", Server::redirect("/moved")},
                           {"/moved", Server::file(xml)},
                           {"/p/..%2F.-~%01.b%3Cc%3E.deb", Server::file(package)}};
        check();
        QTRY_VERIFY(said().contains(u"Brevio 0.10.0 is available."));
        const QString notes = dialog()->findChild<QPlainTextEdit *>()->toPlainText();
        QCOMPARE(notes, QStringLiteral("New:\n• Undo"));
        QTest::keyClick(dialog(), Qt::Key_Return);
        QTRY_VERIFY(said().contains(u"The update is in your Downloads folder."));
        QCOMPARE(left("tmp"), QStringList());
        QTest::keyClick(dialog(), Qt::Key_Return);
        QCOMPARE(opened.toLocalFile(), path("Downloads/_.b_c_-1.deb"));
        QFile saved(opened.toLocalFile());
        QVERIFY(saved.open(QIODevice::ReadOnly));
        QCOMPARE(saved.readAll(), package);
    }

    void everyFailureIsToldAndLeavesNothing_data()
    {
        QTest::addColumn<QString>("message");
        QTest::addColumn<Action>("prepare");
        const auto row = [](const char *name, const char *message, const Action &prepare) {
            QTest::newRow(name) << QString::fromLatin1(message) << prepare;
        };
        const auto serve = [&](const char *name, const char *message, const QByteArray &where,
                               const QByteArray &answer) {
            row(name, message, [this, where, answer] { server->answers[where] = answer; });
        };
        row("plain http", "not set up", [this] { address = "http://192.0.2.1/feed"; });
        row("built without", "come from your package manager", [this] { address.clear(); });
        row("nothing newer", "Brevio is up to date.",
            [this] { server->answers["/feed"] = Server::file(feed("0.1")); });
        serve("no such feed", "with an error", "/feed", Server::answer("404 Not Found", "Oh"));
        serve("in circles", "unsafe address", "/feed", Server::redirect("/feed"));
        serve("to an open line", "unsafe address", "/feed", Server::redirect("http://192.0.2.1/"));
        serve("a feed without end", "too large", "/feed",
              Server::answer("200 OK", QByteArray(largestAppcast + 1, ' ')));
        serve("a package cut short", "broke off", "/p/b_1.deb", Server::file(package).chopped(9));
        serve("a package too long", "not as long", "/p/b_1.deb", Server::file(package + 'A'));
        serve("another package", "not genuine", "/p/b_1.deb", Server::file('A' + package.mid(1)));
    }

    void everyFailureIsToldAndLeavesNothing()
    {
        QFETCH(QString, message);
        QFETCH(Action, prepare);
        prepare();
        check();
        QTRY_VERIFY(dialog());
        if (said().contains(u"is available"))
            QTest::keyClick(dialog(), Qt::Key_Return);
        QTRY_VERIFY2(said().contains(message), qPrintable(said()));
        QCOMPARE(left("tmp"), QStringList());
        QCOMPARE(left("Downloads"), QStringList());
        QTest::keyClick(dialog(), Qt::Key_Escape);
        QCOMPARE(dialog(), nullptr);
        controller->checkForUpdates(nullptr); // and the next check is a new one
        QTRY_VERIFY(dialog());
    }

    void aSilentServerIsGivenUp()
    {
        server->isSilent = true;
        server->answers["/feed"].clear();
        check();
        queue->advance(300ms);
        QVERIFY(said().contains(u"Looking for updates"));
        queue->advance(15s);
        QVERIFY(said().contains(u"stopped answering"));
    }

    void aCancelledDownloadLeavesNothing()
    {
        server->isSilent = true;
        server->answers["/p/b_1.deb"] = Server::file(package).chopped(9);
        check();
        QTRY_VERIFY(dialog());
        QTest::keyClick(dialog(), Qt::Key_Return);
        const QString partial = path("tmp/") + left("tmp").value(0) + QStringLiteral("/package");
        QTRY_COMPARE(QFileInfo(partial).size(), package.size() - 9);
        QTest::keyClick(dialog(), Qt::Key_Escape);
        QCOMPARE(left("tmp"), QStringList());
        QCOMPARE(left("Downloads"), QStringList());
    }
};

QTEST_MAIN(UpdaterTests)
#include "UpdaterTests.moc"
