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

constexpr int scale = 2;

class RootContainerTests final : public QObject
{
    Q_OBJECT

public:
    /// On a display of twice the resolution, where a picture painted one to one would be too small.
    static void initMain() { qputenv("QT_SCALE_FACTOR", QByteArray::number(scale)); }

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
        return m_root->grab().toImage().pixelColor(scale * x, scale * y);
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

    void facesMixExactlyAndInsideTheShape()
    {
        const QColor cream = CardContentView::cardCream().light;
        m_root->setHidden(Face::Grid, false);
        for (const float t : {0.0F, 0.25F, 0.5F, 1.0F}) {
            m_root->setAlpha(Face::Grid, t);
            m_root->setAlpha(Face::Card, 1.0 - t);
            const QColor color = seen(300, 200);
            QVERIFY(std::abs(color.redF() - cream.redF() * (1 - t)) < 0.005F);
            QVERIFY(std::abs(color.greenF() - cream.greenF() * (1 - t)) < 0.005F);
            QVERIFY(std::abs(color.blueF() - cream.blueF() * (1 - t) - t) < 0.005F);
            QCOMPARE(seen(0, 0).alpha(), 0);
        }
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
        m_toast->setMessage(QStringLiteral("Note saved"));
        m_root->setAlpha(Face::Toast, 1.0);
        QTest::keyClicks(m_root->focusWidget(), QStringLiteral("still here"));
        QCOMPARE(m_card->textView()->text(), QStringLiteral("still here"));
        int taps = 0;
        m_card->onGridButtonTapped = [&] { ++taps; };
        clickAt({442, 262});
        QCOMPARE(taps, 1);
        // And nothing of it shows, but the message in the middle does.
        const QImage picture = m_root->grab().toImage();
        const auto isBlank = [&](const QRect &part) {
            const QImage piece = picture.copy(QRect(part.topLeft() * scale, part.size() * scale));
            QImage cream(piece.size(), piece.format());
            cream.setDevicePixelRatio(piece.devicePixelRatio());
            cream.fill(CardContentView::cardCream().light);
            return piece == cream;
        };
        QVERIFY(isBlank({22, 22, 416, 90}));
        QVERIFY(!isBlank({180, 125, 100, 30}));
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

    void theCaretGoesOnBlinkingDuringAFade()
    {
        m_root->setAlpha(Face::Card, 0.9);
        const auto caret = [this] { return seen(27, 34); };
        const QColor first = caret();
        QTRY_VERIFY(caret() != first);
        QTRY_COMPARE(caret(), first);
    }
};

QTEST_MAIN(RootContainerTests)
#include "RootContainerTests.moc"
