#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sweep/message.h"

namespace zdb::sweep {

/// Ways to supervisors, numbered from 0 on. Bytes arrive whole and in order.
class Lines {
 public:
  struct Piece {
    std::size_t line = 0;
    std::string bytes;  ///< empty: the line has ended
  };

  Lines() = default;
  virtual ~Lines() = default;
  Lines(const Lines&) = delete;
  Lines& operator=(const Lines&) = delete;

  virtual std::size_t size() const = 0;
  /// Does not wait for the receiver.
  virtual void send(std::size_t line, const std::string& bytes) = 0;
  /// None if nothing comes for about a tenth of a second.
  virtual std::optional<Piece> receive() = 0;
};

/// The workers of several supervisors, the same number of each. Throws CrewError, with the name of
/// the line, if a supervisor ends or cannot do its work: that is not a worker's death.
class RemoteCrew : public Crew {
 public:
  /// Has all supervisors prepare. `lineName` is what a line is called, such as "rank", before its
  /// number. The lines must last as long as this.
  RemoteCrew(Lines& lines, std::size_t workersEach, std::string lineName);

  std::size_t size() const override { return workers_.size(); }
  /// Machine, line, and for one of several workers its number there: "node7:3.1".
  std::string name(std::size_t worker) const override;
  std::string fill(std::size_t worker) override;
  void send(std::size_t worker, std::span<const Task> tasks) override;
  Event wait() override;

 private:
  struct Line {
    MessageStream stream;
    std::string machine;
  };

  std::size_t lineOf(std::size_t worker) const { return worker / each_; }
  void send(std::size_t worker, Message message);
  void take(std::size_t line, Message message);
  [[noreturn]] void fail(std::size_t line, const std::string& why) const;

  Lines& lines_;
  std::size_t each_;
  std::string lineName_;
  std::vector<Line> supervisors_;
  std::vector<std::uint32_t> workers_;  ///< their generations
  std::deque<Event> events_;
};

}  // namespace zdb::sweep
