#include "Brevio/Card/CardContentView.h"
#include "Brevio/Card/RootContainer.h"
#include "Brevio/Card/ToastView.h"
#include "Brevio/CardColors.h"
#include "Brevio/Text/BoundedTextView.h"
#include "Tests/Support/FakeAppearance.h"
#include "Tests/Support/ManualTime.h"

#include <QAccessible>
#include <QTest>

using namespace Brevio;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Face = RootContainer::Face;

constexpr int scale = 2;

class RootContainerTests final : public QObject
{
    Q_OBJECT

public:
    /// On a display of twice the resolution, where a picture painted one to one would be too small.
    static void initMain() { qputenv("QT_SCALE_FACTOR", QByteArray::number(scale)); }

private:
    QColor seen(int x, int y)
    {
        // Of the window, so that what lies beneath and above is in it.
        return m_root->grab().toImage().pixelColor(scale * x, scale * y);
    }

    FakeAppearance m_appearance;
    ManualQueue m_queue;
    CardContentView *m_card = nullptr;
    ToastView *m_toast = nullptr;
    std::unique_ptr<RootContainer> m_root;

private Q_SLOTS:
    void init()
    {
        m_appearance.setScheme(Platform::ColorScheme::Light);
        m_card = new CardContentView(m_appearance, m_queue);
        m_toast = new ToastView(m_appearance);
        auto *grid = new QWidget;
        grid->setAutoFillBackground(true);
        grid->setPalette(QColor(Qt::blue));
        m_root = std::make_unique<RootContainer>(m_card, grid, m_toast, m_appearance);
        m_root->setAttribute(Qt::WA_TranslucentBackground);
        m_root->setHidden(Face::Grid, true);
        m_root->show();
        QVERIFY(QTest::qWaitForWindowActive(m_root.get()));
        m_card->textView()->setFocus();
    }

    void facesMixExactlyAndInsideTheShape()
    {
        m_card->setPinIndicatorHidden(false);
        m_root->setHidden(Face::Grid, false);
        const auto isMix = [this](QPoint place, QColor card, float t) {
            const QColor color = seen(place.x(), place.y());
            return std::abs(color.redF() - card.redF() * (1 - t)) < 0.005F &&
                   std::abs(color.greenF() - card.greenF() * (1 - t)) < 0.005F &&
                   std::abs(color.blueF() - card.blueF() * (1 - t) - t) < 0.005F;
        };
        for (const float t : {0.0F, 0.25F, 0.5F, 1.0F}) {
            m_root->setAlpha(Face::Grid, t);
            m_root->setAlpha(Face::Card, 1.0 - t);
            QVERIFY(isMix({300, 200}, CardColors::cardCream().light, t));
            // Where both faces are opaque, the paper does not shine through.
            QVERIFY(isMix({446, 14}, Platform::systemYellow().light, t));
            QCOMPARE(seen(0, 0).alpha(), 0);
        }
    }

    void aTransparentCardTakesKeysUnderTheToast()
    {
        m_root->setAlpha(Face::Card, 0.0);
        const auto ofTheText = [this] { return m_root->grab({22, 22, 416, 90}).toImage(); };
        const auto ofTheMessage = [this] { return m_root->grab({180, 125, 100, 30}).toImage(); };
        const QImage noText = ofTheText();
        const QImage noMessage = ofTheMessage();
        m_toast->setMessage(u"Note saved"_s);
        m_root->setAlpha(Face::Toast, 1.0);
        QTest::keyClicks(m_root->focusWidget(), u"still here"_s);
        QCOMPARE(m_card->textView()->text(), u"still here"_s);
        QCOMPARE(ofTheText(), noText);
        QVERIFY(ofTheMessage() != noMessage);
    }

    void theCardFollowsTheAppearanceWhileItIsOpen()
    {
        m_card->setPinIndicatorHidden(false);
        m_appearance.setScheme(Platform::ColorScheme::Dark);
        QCOMPARE(m_card->textView()->palette().color(QPalette::Text), CardColors::cardInk().dark);
        QCOMPARE(seen(446, 14).rgb(), Platform::systemYellow().dark.rgb());
        QCOMPARE(seen(300, 200).rgb(), CardColors::cardCream().dark.rgb());
    }

    void theGridButtonIsThereAndShowsWhileThePointerMoves()
    {
        // Also for a screen reader while it is transparent.
        int taps = 0;
        m_card->onGridButtonTapped = [&] { ++taps; };
        auto *button = QAccessible::queryAccessibleInterface(m_root->childAt(432, 252));
        button->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
        QTRY_COMPARE(taps, 1);
        const auto cornerOfTheSymbol = [this] { return m_root->grab({446, 266, 5, 5}).toImage(); };
        const QImage noSymbol = cornerOfTheSymbol();
        m_root->move(-80, 0); // so that the button is on the screen
        QTest::mouseMove(m_root.get(), {200, 5});
        m_queue.advance(90ms);
        QVERIFY(m_card->gridButtonAlpha() > 0.0 && m_card->gridButtonAlpha() < 1.0);
        // Over the margin, the text and the button itself.
        for (const QPoint place : {QPoint(200, 10), {200, 100}, {440, 260}}) {
            QTest::mouseMove(m_root.get(), place);
            m_queue.advance(999ms);
            QCOMPARE(m_card->gridButtonAlpha(), 1.0);
            QVERIFY(cornerOfTheSymbol() != noSymbol);
        }
        m_queue.advance(181ms);
        QCOMPARE(m_card->gridButtonAlpha(), 0.0);

        QTest::mouseMove(m_root.get(), {200, 5});
        m_queue.advance(300ms);
        QEvent leaving(QEvent::Leave);
        QCoreApplication::sendEvent(m_card, &leaving);
        m_queue.advance(180ms);
        QCOMPARE(m_card->gridButtonAlpha(), 0.0);
        QCOMPARE(m_queue.pendingJobs(), 0);

        QTest::mouseMove(m_root.get(), {200, 10});
        m_root.reset(); // and the jobs with it
        QCOMPARE(m_queue.pendingJobs(), 0);
    }
};

QTEST_MAIN(RootContainerTests)
#include "RootContainerTests.moc"
