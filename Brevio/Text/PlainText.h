#pragma once

#include <QString>

class QTextCursor;
class QTextDocument;

/// What a document says, position for position: its lines separated by line feeds, every other
/// character as it was typed.
namespace Brevio::PlainText {

[[nodiscard]] QString of(const QTextDocument &document);
/// What is selected.
[[nodiscard]] QString of(const QTextCursor &selection);

} // namespace Brevio::PlainText
