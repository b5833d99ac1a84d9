#include "progress.h"

#include <algorithm>
#include <cstdio>

namespace zdb::tool {

namespace {

constexpr std::chrono::milliseconds kQuietTime(1000);
constexpr std::chrono::milliseconds kDrawingTime(100);

std::string shortTime(double seconds) {
  char text[32];
  if (seconds < 90) {
    std::snprintf(text, sizeof text, "%.0f s", seconds);
  } else if (seconds < 5400) {
    std::snprintf(text, sizeof text, "%.0f min", seconds / 60);
  } else {
    std::snprintf(text, sizeof text, "%.1f h", seconds / 3600);
  }
  return text;
}

std::string shortNumber(double number) {
  const char* ending = "";
  for (const char* next : {"k", "M", "G"}) {
    if (number < 1000) break;
    number /= 1000;
    ending = next;
  }
  char text[32];
  std::snprintf(text, sizeof text, number < 10 ? "%.1f%s" : "%.0f%s", number, ending);
  return text;
}

}  // namespace

Progress::Progress(Console& console, std::string unit)
    : console_(console), unit_(std::move(unit)), nextDrawing_(start_ + kQuietTime) {
  if (console.handlesInterrupts()) interrupt_.emplace();
}

Progress::~Progress() {
  console_.clearBar();
}

void Progress::update(std::uint64_t done, std::uint64_t total) {
  if (interrupt_ ? Interrupt::isRequested() : console_.isInterrupted()) throw InterruptedError();
  if (!console_.terminal().showsProgress) return;
  const Clock::time_point now = Clock::now();
  if (now < nextDrawing_) return;
  nextDrawing_ = now + kDrawingTime;
  const double seconds = std::chrono::duration<double>(now - start_).count();
  console_.showBar(progressBar(done, total, seconds, unit_, console_.terminal().width));
}

std::string progressBar(std::uint64_t done, std::uint64_t total, double seconds,
                        const std::string& unit, int width) {
  const double part = total == 0 ? 1 : static_cast<double>(done) / static_cast<double>(total);
  const double rate = seconds > 0 ? static_cast<double>(done) / seconds : 0;
  char percent[8];
  std::snprintf(percent, sizeof percent, "%3.0f %%", 100 * part);
  std::string words = std::string(percent) + ", " + shortNumber(rate) + ' ' + unit + "/s";
  if (part > 0) words += ", " + shortTime(seconds / part - seconds) + " left";
  const int room = width - static_cast<int>(words.size()) - 5;  // brackets, blanks, last column
  const auto length = static_cast<std::size_t>(std::clamp(room, 0, 40));
  const auto filled = static_cast<std::size_t>(part * static_cast<double>(length));
  if (length == 0) return words;
  return '[' + std::string(filled, '#') + std::string(length - filled, ' ') + "] " + words;
}

}  // namespace zdb::tool
