#include "cli/color.h"

#include <unistd.h>

#include <cstdlib>

std::optional<ColorChoice> ParseColorChoice(const std::string& text) {
  if (text == "auto") return ColorChoice::kAuto;
  if (text == "always") return ColorChoice::kAlways;
  if (text == "never") return ColorChoice::kNever;
  return std::nullopt;
}

bool UseColor(ColorChoice choice, int fd) {
  if (choice != ColorChoice::kAuto) return choice == ColorChoice::kAlways;
  // NO_COLOR set to any non-empty value turns colour off unless the command line asks for it.
  const char* no_color = std::getenv("NO_COLOR");
  if (no_color != nullptr && no_color[0] != '\0') return false;
  return isatty(fd) == 1;
}

std::string Colored(const std::string& text, Paint paint, bool colored) {
  if (!colored) return text;
  const char* start = "";
  switch (paint) {
    case Paint::kError:
    case Paint::kSummaryFailed:
      start = "\033[1;31m";  // bold red
      break;
    case Paint::kWarning:
      start = "\033[1;35m";  // bold magenta
      break;
    case Paint::kOk:
    case Paint::kSummaryPassed:
      start = "\033[1;32m";  // bold green
      break;
  }
  return start + text + "\033[0m";
}
