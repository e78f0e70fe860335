#include "Brevio/Card/RootContainer.h"

#include "Brevio/Card/CardContentView.h"
#include "Brevio/Card/CardShape.h"
#include "Brevio/Card/ToastView.h"
#include "Brevio/CardColors.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

namespace Brevio {

namespace {

/// The hairline that keeps a cream sheet apart from a white window behind it.
constexpr double hairline = 1.0;
constexpr double hairlineAlpha = 0.10;

} // namespace

/// Lies over the faces and gives the sheet its shape: it cuts the corners of whatever was painted
/// beneath. While a face is partly transparent it also paints all that is seen, the live faces
/// beneath going on with their work, mouse and keys included.
class RootContainer::Veil final : public QWidget
{
public:
    explicit Veil(RootContainer *root)
        : QWidget(root)
        , m_root(root)
    {
        setAttribute(Qt::WA_TransparentForMouseEvents);
        setAttribute(Qt::WA_NoSystemBackground);
        setFocusPolicy(Qt::NoFocus);
    }

    void setMixing(bool mixing)
    {
        m_isMixing = mixing;
        // At rest only the edge is covered, so that the faces scroll and repaint unhindered.
        const int reach = static_cast<int>(std::ceil(CardShape::cornerReach));
        const QRect all = rect();
        if (mixing || all.width() <= 2 * reach || all.height() <= 2 * reach) {
            clearMask();
        } else {
            QRegion edge(all);
            edge -= all.adjusted(reach, 1, -reach, -1);
            edge -= all.adjusted(1, reach, -1, -reach);
            setMask(edge);
        }
        update();
    }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        if (m_isMixing) {
            painter.setCompositionMode(QPainter::CompositionMode_Source);
            painter.drawImage(0, 0, mixedFaces());
        }
        // A window that cannot be seen through would show black where a corner was cut.
        if (window()->testAttribute(Qt::WA_TranslucentBackground)) {
            QPainterPath corners;
            corners.addRect(rect());
            corners.addPath(CardShape::outline(rect())); // a hole, which takes no computing
            painter.setCompositionMode(QPainter::CompositionMode_DestinationOut);
            painter.fillPath(corners, Qt::black);
        }
        painter.setCompositionMode(QPainter::CompositionMode_SourceAtop);
        QPen pen(CardColors::cardInk().resolved(m_root->m_appearance.scheme(), hairlineAlpha));
        pen.setWidthF(hairline);
        const double half = hairline / 2.0;
        painter.strokePath(CardShape::outline(QRectF(rect()).adjusted(half, half, -half, -half)),
                           pen);
    }

private:
    [[nodiscard]] QImage transparentImage() const
    {
        QImage image(size() * devicePixelRatioF(), QImage::Format_ARGB32_Premultiplied);
        image.setDevicePixelRatio(devicePixelRatioF());
        image.fill(Qt::transparent);
        return image;
    }

    /// The sheet as if it had no corners. The faces are added up before they go onto the paper:
    /// laid over one another, two half transparent ones would let the paper through what both show.
    [[nodiscard]] QImage mixedFaces() const
    {
        double total = 0.0;
        for (const FaceState &face : m_root->m_faces)
            total += face.isHidden ? 0.0 : face.alpha;
        constexpr double rounding = 1e-6;
        const auto mode = total <= 1.0 + rounding ? QPainter::CompositionMode_Plus
                                                  : QPainter::CompositionMode_SourceOver;
        QImage faces = transparentImage();
        for (const FaceState &face : m_root->m_faces) {
            if (face.isHidden || face.alpha <= 0.0)
                continue;
            QImage picture = transparentImage();
            // A mask says who gets the mouse, not what is seen.
            face.widget->render(&picture, {}, {}, QWidget::DrawChildren | QWidget::IgnoreMask);
            // Not the painter's opacity, under which sums would be cut off before they are thinned.
            QColor opacity(Qt::black);
            opacity.setAlphaF(static_cast<float>(face.alpha));
            QPainter fading(&picture);
            fading.setCompositionMode(QPainter::CompositionMode_DestinationIn);
            fading.fillRect(rect(), opacity);
            fading.end();
            QPainter adding(&faces);
            adding.setCompositionMode(mode);
            adding.drawImage(0, 0, picture);
        }
        QImage sheet = transparentImage();
        sheet.fill(CardColors::cardCream().resolved(m_root->m_appearance.scheme()));
        QPainter(&sheet).drawImage(0, 0, faces);
        return sheet;
    }

    RootContainer *m_root;
    bool m_isMixing = false;
};

RootContainer::RootContainer(CardContentView *card, QWidget *grid, ToastView *toast,
                             Platform::Appearance &appearance, QWidget *parent)
    : QWidget(parent)
    , m_appearance(appearance)
    , m_faces{{{grid, 0.0, false}, {card, 1.0, false}, {toast, 0.0, false}}}
    , m_veil(new Veil(this))
{
    for (const FaceState &face : m_faces) {
        face.widget->setParent(this);
        face.widget->raise();
    }
    m_veil->raise();
    connect(&appearance, &Platform::Appearance::changed, this, [this] { update(); });
    resize(card->size());
    updateFaces();
}

void RootContainer::setAlpha(Face face, double alpha)
{
    state(face).alpha = std::clamp(alpha, 0.0, 1.0);
    updateFaces();
}

void RootContainer::setHidden(Face face, bool hidden)
{
    state(face).isHidden = hidden;
    updateFaces();
}

void RootContainer::updateFaces()
{
    bool isMixing = false;
    for (const FaceState &face : m_faces) {
        const bool isToast = &face == &state(Face::Toast);
        // Nothing is lost with a toast that cannot be seen; the other faces may have the keyboard.
        const bool isShown = !face.isHidden && (!isToast || face.alpha > 0.0);
        face.widget->setVisible(isShown);
        isMixing = isMixing || (isShown && face.alpha < 1.0);
    }
    m_veil->setMixing(isMixing);
    update();
}

void RootContainer::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    for (const FaceState &face : m_faces)
        face.widget->setGeometry(rect());
    m_veil->setGeometry(rect());
    updateFaces();
}

void RootContainer::paintEvent(QPaintEvent *)
{
    QPainter(this).fillRect(rect(), CardColors::cardCream().resolved(m_appearance.scheme()));
}

} // namespace Brevio
