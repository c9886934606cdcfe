#pragma once

#include <QString>
#include <optional>

#include "store/Prompt.h"

class QMimeData;
class QObject;
class QPlainTextEdit;

namespace folvane {

// The format under which a dragged prompt travels: the JSON of its record.
QString promptMimeType();

// A drag of one prompt: its record under promptMimeType(), and its text as
// plain text for a drop target that knows no prompts.
QMimeData* makePromptMimeData(const Prompt& prompt);
bool hasPrompt(const QMimeData* data);
// The prompt a drag carries; none when it carries none. Throws
// PromptPayloadError when the payload is not a prompt's record.
std::optional<Prompt> promptFromMimeData(const QMimeData* data);

// Puts a prompt's text in a message box in place of what it held, as one step
// that Ctrl+Z takes back, and gives the box the focus with the cursor at the end.
void fillWithPrompt(QPlainTextEdit* box, const Prompt& prompt);

// Lets a message box take a dragged prompt: dropped there, the prompt fills
// it. Any other drop goes on to the box as before. The filter is a child of
// the box.
void acceptPromptDrops(QPlainTextEdit* box);

}  // namespace folvane
