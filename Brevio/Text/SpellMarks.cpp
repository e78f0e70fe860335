#include "Brevio/Text/SpellMarks.h"

#include "Brevio/Text/SpellWords.h"

#include <QAbstractTextDocumentLayout>
#include <QEvent>
#include <QPainter>
#include <QPixmap>
#include <QTextBlock>
#include <QTextEdit>

#include <algorithm>
#include <cmath>
#include <utility>

namespace Brevio {

namespace {

using namespace std::chrono_literals;

constexpr auto checkDelay = 250ms; ///< after an edit; its own painting comes first
constexpr qsizetype mostVerdicts = 4096;
/// No card shows more; a long note does not cost more than a card.
constexpr int mostCharacters = 4096;

constexpr double waveLength = 4.0;
constexpr double waveHeight = 3.0; ///< with its pen
constexpr double waveBelowBaseline = 1.0;
constexpr double wavePen = 1.1;
/// Legible on the paper of either scheme.
const QColor waveColor(0xff, 0x3b, 0x30);

/// The words of a paragraph, as of one revision of it. Belongs to the document.
class ParagraphWords final : public QTextBlockUserData
{
public:
    int revision = -1;
    QList<SpellWords::Word> words;
};

const QList<SpellWords::Word> &wordsOf(QTextBlock block)
{
    // A caret can stand behind a text that has just been taken away, in no block at all.
    static const QList<SpellWords::Word> none;
    if (!block.isValid())
        return none;
    auto *known = static_cast<ParagraphWords *>(block.userData());
    if (!known) {
        known = new ParagraphWords;
        block.setUserData(known);
    }
    if (std::exchange(known->revision, block.revision()) != block.revision()) {
        const QString text = block.text();
        known->words = SpellWords::words(QStringView(text).left(mostCharacters));
    }
    return known->words;
}

/// One length of the wave, to be tiled: stroking whole waves takes 20 times as long as the rest
/// of a keystroke.
QPixmap wave(double devicePixelRatio)
{
    static QPixmap tile;
    if (!tile.isNull() && tile.devicePixelRatio() == devicePixelRatio)
        return tile;
    tile = QPixmap((QSizeF(waveLength, waveHeight) * devicePixelRatio).toSize());
    tile.setDevicePixelRatio(devicePixelRatio);
    tile.fill(Qt::transparent);
    QPainter painter(&tile);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(waveColor, wavePen));
    const double top = wavePen / 2.0;
    const double bottom = waveHeight - top;
    // It goes on at both ends.
    painter.drawPolyline(QPolygonF{{-waveLength / 2.0, top},
                                   {0.0, bottom},
                                   {waveLength / 2.0, top},
                                   {waveLength, bottom},
                                   {waveLength * 1.5, top}});
    return tile;
}

} // namespace

SpellMarks::SpellMarks(QTextEdit &view)
    : m_view(view)
{}

void SpellMarks::start(Platform::SpellChecker &checker, Platform::MainQueue &queue)
{
    m_checker = &checker;
    m_queue = &queue;
    m_view.installEventFilter(this);
    connect(m_view.document(), &QTextDocument::contentsChanged, this, [this] {
        noticeMove();
        checkLater();
    });
    connect(&m_view, &QTextEdit::cursorPositionChanged, this, &SpellMarks::noticeMove);
    checkLater();
}

bool SpellMarks::eventFilter(QObject *, QEvent *event)
{
    switch (event->type()) {
    case QEvent::Show:
        checkLater();
        break;
    case QEvent::Hide:
        // Hidden, the program is to be small.
        m_soon.reset();
        m_check.reset();
        m_checker->release();
        break;
    case QEvent::FocusOut:
        if (!m_view.hasFocus())
            finishWord();
        break;
    default:
        break;
    }
    return false;
}

/// An edit withholds the mark of the word it ends in; it is given up when the caret goes elsewhere.
void SpellMarks::noticeMove()
{
    const bool isEdit =
        std::exchange(m_revision, m_view.document()->revision()) != m_view.document()->revision();
    if (!isEdit && m_writtenAt < 0)
        return;
    const QTextCursor caret = m_view.textCursor();
    const QTextBlock block = caret.block();
    int touched = -1;
    for (const auto &word : wordsOf(block)) {
        const auto inside = caret.positionInBlock() - word.start;
        if (inside > 0 && inside <= word.length)
            touched = block.position() + static_cast<int>(word.start);
    }
    const int before = m_writtenAt;
    m_writtenAt = isEdit || touched == before ? touched : -1;
    if (m_writtenAt != before) {
        checkLater();
        m_view.viewport()->update();
    }
}

void SpellMarks::checkLater()
{
    if (m_checker && !m_soon && m_view.isVisible())
        m_soon = m_queue->schedule(checkDelay, [this] { checkNewWords(); });
}

void SpellMarks::checkNewWords()
{
    m_soon.reset();
    if (m_check || !m_checker->isAvailable())
        return; // the answer to the open question asks again
    if (m_right.size() + m_wrong.size() > mostVerdicts) {
        m_right.clear();
        m_wrong.clear();
    }
    QStringList asked;
    forEachWord([&](const QTextBlock &, const Mark &mark) {
        if (mark.position != m_writtenAt && !m_right.contains(mark.word) &&
            !m_wrong.contains(mark.word))
            asked << mark.word;
    });
    asked.removeDuplicates();
    if (asked.isEmpty())
        return;
    m_check = m_checker->check(asked, [this, asked](const QStringList &wrong) {
        for (const QString &word : asked)
            (wrong.contains(word) ? m_wrong : m_right).insert(word);
        m_check.reset();
        m_view.viewport()->update();
        checkLater();
    });
}

void SpellMarks::forEachWord(
    const std::function<void(const QTextBlock &, const Mark &)> &visit) const
{
    for (auto block = m_view.document()->begin();
         block.isValid() && block.position() < mostCharacters; block = block.next()) {
        const auto &words = wordsOf(block);
        if (words.isEmpty())
            continue;
        const QString paragraph = block.text();
        for (const auto &word : words) {
            const int position = block.position() + static_cast<int>(word.start);
            visit(block, {position, paragraph.sliced(word.start, word.length)});
        }
    }
}

bool SpellMarks::isMarked(const Mark &mark) const
{
    return mark.position != m_writtenAt && m_wrong.contains(mark.word);
}

QStringList SpellMarks::markedWords() const
{
    QStringList marked;
    forEachWord([&](const QTextBlock &, const Mark &mark) {
        if (isMarked(mark))
            marked << mark.word;
    });
    return marked;
}

/// The rectangles of the word, one a line that it is on, in the viewport.
QList<QRectF> SpellMarks::lines(const QTextBlock &block, const Mark &mark) const
{
    const QTextLayout *layout = block.layout();
    int from = mark.position - block.position();
    int to = from + static_cast<int>(mark.word.size());
    // What is being composed stands in the layout and not in the text.
    if (const auto composed = static_cast<int>(layout->preeditAreaText().size()); composed > 0) {
        const int at = layout->preeditAreaPosition();
        if (from <= at && at <= to)
            return {};
        from += at < from ? composed : 0;
        to += at < to ? composed : 0;
    }
    const QPointF origin = m_view.document()->documentLayout()->blockBoundingRect(block).topLeft();
    QList<QRectF> found;
    for (int i = 0; i < layout->lineCount(); ++i) {
        const QTextLine line = layout->lineAt(i);
        const int start = std::max(from, line.textStart());
        const int end = std::min(to, line.textStart() + line.textLength());
        if (start >= end)
            continue;
        const auto [left, right] = std::minmax({line.cursorToX(start), line.cursorToX(end)});
        found << QRectF(left, line.y(), right - left, line.ascent()).translated(origin);
    }
    return found;
}

void SpellMarks::paint(QPainter &painter) const
{
    if (m_wrong.isEmpty())
        return;
    forEachWord([&](const QTextBlock &block, const Mark &mark) {
        if (!isMarked(mark))
            return;
        for (const QRectF &line : lines(block, mark)) {
            const QPointF start(std::round(line.left()),
                                std::round(line.bottom()) + waveBelowBaseline);
            painter.drawTiledPixmap(QRectF(start, QSizeF(std::round(line.width()), waveHeight)),
                                    wave(painter.device()->devicePixelRatioF()));
        }
    });
}

std::optional<SpellMarks::Mark> SpellMarks::markAt(QPoint place) const
{
    std::optional<Mark> hit;
    forEachWord([&](const QTextBlock &block, const Mark &mark) {
        if (!isMarked(mark))
            return;
        for (const QRectF &line : lines(block, mark)) {
            if (line.adjusted(0.0, 0.0, 0.0, waveBelowBaseline + waveHeight).contains(place))
                hit = mark;
        }
    });
    return hit;
}

std::optional<SpellMarks::Mark> SpellMarks::wrongWordAtCaret() const
{
    std::optional<Mark> hit;
    const int caret = m_view.textCursor().position();
    forEachWord([&](const QTextBlock &, const Mark &mark) {
        if (m_wrong.contains(mark.word) && caret >= mark.position &&
            caret <= mark.position + mark.word.size())
            hit = mark;
    });
    return hit;
}

void SpellMarks::finishWord()
{
    if (std::exchange(m_writtenAt, -1) >= 0)
        checkLater();
}

void SpellMarks::accept(const QString &word)
{
    // It may be right now at the start of a sentence, too.
    m_wrong.removeIf(
        [&](const QString &one) { return one.compare(word, Qt::CaseInsensitive) == 0; });
    m_right.insert(word);
    m_view.viewport()->update();
    checkLater();
}

} // namespace Brevio
