// Colour in the text report: its labels (error, warning, ok) and its summary line, for a reader at
// a terminal. Programs reading JSON never see colour.
#ifndef VELMORA_CLI_COLOR_H_
#define VELMORA_CLI_COLOR_H_

#include <optional>
#include <string>

enum class ColorChoice { kAuto, kAlways, kNever };

// A --color value: "auto", "always" or "never". Anything else has no value.
std::optional<ColorChoice> ParseColorChoice(const std::string& text);

// Whether text written to the file descriptor fd is coloured: always, never, or, for auto, when fd
// is a terminal and NO_COLOR is unset or empty.
bool UseColor(ColorChoice choice, int fd);

// The terminal colours of the report.
enum class Paint { kError, kWarning, kOk, kSummaryFailed, kSummaryPassed };

// text wrapped in the colour of paint when colored is true; text itself otherwise.
std::string Colored(const std::string& text, Paint paint, bool colored);

#endif  // VELMORA_CLI_COLOR_H_
