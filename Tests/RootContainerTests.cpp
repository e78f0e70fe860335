#include "Brevio/BoundedTextView.h"
#include "Brevio/CardContentView.h"
#include "Brevio/RootContainer.h"
#include "Brevio/ToastView.h"
#include "Tests/Support/FakeAppearance.h"
#include "Tests/Support/ManualTime.h"

#include <QPainter>
#include <QTest>

using namespace Brevio;
using Face = RootContainer::Face;

class RootContainerTests final : public QObject
{
    Q_OBJECT

private:
    /// An opaque grid of one colour that reports its clicks.
    class Grid final : public QWidget
    {
    public:
        QColor color;
        int clicks = 0;

    protected:
        void paintEvent(QPaintEvent *) override { QPainter(this).fillRect(rect(), color); }
        void mousePressEvent(QMouseEvent *) override { ++clicks; }
    };

    QColor seen(int x, int y)
    {
        // Of the window, so that what lies beneath and above is in it.
        return m_root->grab().toImage().pixelColor(x, y);
    }
    void clickAt(const QPoint &point)
    {
        QTest::mouseClick(m_root->windowHandle(), Qt::LeftButton, {}, point);
    }

    FakeAppearance m_appearance;
    ManualQueue m_queue;
    CardContentView *m_card = nullptr;
    Grid *m_grid = nullptr;
    ToastView *m_toast = nullptr;
    std::unique_ptr<RootContainer> m_root;

private Q_SLOTS:
    void init()
    {
        m_appearance.setScheme(Platform::ColorScheme::Light);
        m_card = new CardContentView(m_appearance, m_queue);
        m_grid = new Grid;
        m_grid->color = Qt::blue;
        m_toast = new ToastView(m_appearance);
        m_root = std::make_unique<RootContainer>(m_card, m_grid, m_toast, m_appearance);
        m_root->setAttribute(Qt::WA_TranslucentBackground);
        m_root->setHidden(Face::Grid, true);
        m_root->show();
        QVERIFY(QTest::qWaitForWindowActive(m_root.get()));
        m_card->textView()->setFocus();
    }

    void theSheetIsCreamWithRoundedCorners()
    {
        QCOMPARE(seen(10, 100).rgba(), CardContentView::cardCream().light.rgba());
        QCOMPARE(seen(0, 0).alpha(), 0);
        QCOMPARE(seen(459, 279).alpha(), 0);
        QCOMPARE(seen(5, 5).alpha(), 255);
        m_appearance.setScheme(Platform::ColorScheme::Dark);
        QCOMPARE(seen(10, 100).rgba(), CardContentView::cardCream().dark.rgba());
    }

    void facesMixExactlyAndInsideTheShape_data()
    {
        QTest::addColumn<double>("gridAlpha");
        QTest::addColumn<QColor>("expected");
        const QColor cream = CardContentView::cardCream().light;
        const auto mixed = [cream](float t) {
            return QColor::fromRgbF(cream.redF() * (1 - t), cream.greenF() * (1 - t),
                                    cream.blueF() * (1 - t) + t);
        };
        QTest::newRow("none") << 0.0 << cream;
        QTest::newRow("a quarter") << 0.25 << mixed(0.25F);
        QTest::newRow("half") << 0.5 << mixed(0.5F);
        QTest::newRow("all") << 1.0 << QColor(Qt::blue);
    }

    void facesMixExactlyAndInsideTheShape()
    {
        QFETCH(double, gridAlpha);
        QFETCH(QColor, expected);
        m_root->setHidden(Face::Grid, false);
        m_root->setAlpha(Face::Grid, gridAlpha);
        m_root->setAlpha(Face::Card, 1.0 - gridAlpha);
        const QColor color = seen(300, 200);
        QVERIFY(std::abs(color.red() - expected.red()) <= 1);
        QVERIFY(std::abs(color.green() - expected.green()) <= 1);
        QVERIFY(std::abs(color.blue() - expected.blue()) <= 1);
        QCOMPARE(seen(0, 0).alpha(), 0);
    }

    void whatTwoFacesShareDoesNotDipInAFade()
    {
        m_grid->color = CardContentView::cardInk().light;
        m_card->setPinIndicatorHidden(false);
        m_root->setHidden(Face::Grid, false);
        m_root->setAlpha(Face::Grid, 0.5);
        m_root->setAlpha(Face::Card, 0.5);
        const QColor ink = CardContentView::cardInk().light;
        const QColor yellow = Platform::systemYellow().light;
        QVERIFY(std::abs(seen(446, 14).red() - (ink.red() + yellow.red()) / 2) <= 1);
    }

    void aTransparentCardKeepsKeysAndMouse()
    {
        m_root->setAlpha(Face::Card, 0.0);
        m_root->setAlpha(Face::Toast, 1.0);
        QTest::keyClicks(m_root->focusWidget(), QStringLiteral("still here"));
        QCOMPARE(m_card->textView()->text(), QStringLiteral("still here"));
        int taps = 0;
        m_card->onGridButtonTapped = [&] { ++taps; };
        clickAt({442, 262});
        QCOMPARE(taps, 1);
        // And nothing of it shows.
        const QImage picture = m_root->grab().toImage();
        for (int x = 22; x < 100; ++x)
            QCOMPARE(picture.pixel(x, 36), CardContentView::cardCream().light.rgba());
    }

    void hiddenFacesTakeNoMouse()
    {
        m_root->setHidden(Face::Grid, false);
        clickAt({230, 140});
        QCOMPARE(m_grid->clicks, 0);
        m_root->setHidden(Face::Card, true);
        clickAt({230, 140});
        QCOMPARE(m_grid->clicks, 1);
    }

    void theCardGetsItsKeyboardBack()
    {
        QVERIFY(m_card->textView()->hasFocus());
        m_root->setHidden(Face::Card, true);
        QVERIFY(!m_card->textView()->hasFocus());
        m_root->setHidden(Face::Card, false);
        QVERIFY(m_card->textView()->hasFocus());
    }

    void theCaretGoesOnBlinkingDuringAFade()
    {
        m_root->setAlpha(Face::Card, 0.9);
        const auto caret = [this] { return seen(27, 34); };
        const QColor first = caret();
        QTRY_VERIFY(caret() != first);
        QTRY_COMPARE(caret(), first);
    }

    void theToastStandsInTheMiddle()
    {
        m_toast->setMessage(QStringLiteral("Note saved"));
        m_root->setAlpha(Face::Card, 0.0);
        m_root->setAlpha(Face::Toast, 1.0);
        const QImage picture = m_root->grab().toImage();
        const QRgb cream = CardContentView::cardCream().light.rgba();
        QRect written;
        for (int y = 20; y < 260; ++y) {
            for (int x = 20; x < 440; ++x) {
                if (picture.pixel(x, y) != cream)
                    written |= QRect(x, y, 1, 1);
            }
        }
        QVERIFY(written.width() > 50);
        QVERIFY((written.center() - QPoint(230, 140)).manhattanLength() < 8);
    }
};

QTEST_MAIN(RootContainerTests)
#include "RootContainerTests.moc"
