#include "Brevio/Card/CardContentView.h"
#include "Brevio/CardColors.h"
#include "Brevio/Text/BoundedTextView.h"
#include "Tests/Support/FakeAppearance.h"
#include "Tests/Support/ManualTime.h"

#include <QAccessible>
#include <QEnterEvent>
#include <QTest>

namespace CardColors = Brevio::CardColors;
using namespace std::chrono_literals;
using Brevio::CardContentView;

class CardContentViewTests final : public QObject
{
    Q_OBJECT

private:
    void enter()
    {
        QEnterEvent event({100, 100}, {100, 100}, {100, 100});
        QCoreApplication::sendEvent(m_card.get(), &event);
    }

    void moveOver(QWidget *widget)
    {
        QMouseEvent event(QEvent::MouseMove, {5, 5}, {5, 5}, {5, 5}, Qt::NoButton, Qt::NoButton,
                          Qt::NoModifier);
        QCoreApplication::sendEvent(widget, &event);
    }

    FakeAppearance m_appearance;
    ManualQueue m_queue;
    std::unique_ptr<CardContentView> m_card;

private Q_SLOTS:
    void init()
    {
        m_appearance.setScheme(Platform::ColorScheme::Light);
        m_card = std::make_unique<CardContentView>(m_appearance, m_queue);
        m_card->show();
        m_queue.advance(2s);
    }

    void theInkFollowsTheAppearanceInAnOpenCard()
    {
        m_appearance.setScheme(Platform::ColorScheme::Dark);
        QCOMPARE(m_card->textView()->palette().color(QPalette::Text), CardColors::cardInk().dark);
    }

    void theGridButtonShowsWhileThePointerMoves()
    {
        enter();
        m_queue.advance(90ms);
        QVERIFY(m_card->gridButtonAlpha() > 0.0 && m_card->gridButtonAlpha() < 1.0);
        for (QWidget *under : {static_cast<QWidget *>(m_card.get()), m_card->textView()->viewport(),
                               static_cast<QWidget *>(m_card->gridButton())}) {
            moveOver(under);
            m_queue.advance(999ms);
            QCOMPARE(m_card->gridButtonAlpha(), 1.0);
        }
        m_queue.advance(181ms);
        QCOMPARE(m_card->gridButtonAlpha(), 0.0);

        enter();
        m_queue.advance(300ms);
        QEvent leaving(QEvent::Leave);
        QCoreApplication::sendEvent(m_card.get(), &leaving);
        m_queue.advance(180ms);
        QCOMPARE(m_card->gridButtonAlpha(), 0.0);
        QCOMPARE(m_queue.pendingJobs(), 0);

        enter();
        m_card.reset(); // and its jobs with it
        QCOMPARE(m_queue.pendingJobs(), 0);
    }

    void aScreenReaderPressesTheTransparentGridButton()
    {
        int taps = 0;
        m_card->onGridButtonTapped = [&] { ++taps; };
        auto *button = QAccessible::queryAccessibleInterface(m_card->gridButton());
        button->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
        QTRY_COMPARE(taps, 1);
    }
};

QTEST_MAIN(CardContentViewTests)
#include "CardContentViewTests.moc"
