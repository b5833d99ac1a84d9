#include "sweep/message.h"

#include <cstring>
#include <utility>

#include "contract/packing.h"

namespace zdb::sweep {

namespace {

using contract::CutError;

/// The length that stands before a message.
using Length = std::uint64_t;

/// Longer than any message with results, and short enough to be kept in memory twice: a length
/// above this was not sent by a worker.
constexpr Length kLongest = Length{1} << 32;

template <class Wire, class Sent>
void visit(Wire& wire, Sent& message) {
  wire.number(message.kind);
  wire.number(message.worker);
  wire.number(message.generation);
  wire.list(message.tasks, [](Wire& w, auto& task) { w.number(task); });
  wire.number(message.seconds);
  wire.text(message.text);
}

bool isKind(Message::Kind kind) {
  switch (kind) {
    case Message::Kind::Tasks:
    case Message::Kind::Start:
    case Message::Kind::Fill:
    case Message::Kind::Result:
    case Message::Kind::Failure:
    case Message::Kind::Death:
    case Message::Kind::Ready:
    case Message::Kind::Broken:
      return true;
  }
  return false;
}

Message unpacked(std::string_view bytes) {
  contract::Unpacker wire(bytes);
  Message message;
  visit(wire, message);
  Message::Kind last = {};
  wire.number(last);
  if (!wire.isEmpty() || last != message.kind || !isKind(last)) throw CutError();
  return message;
}

}  // namespace

Message messageOf(Event event) {
  Message message{.worker = static_cast<std::uint32_t>(event.worker),
                  .seconds = event.seconds,
                  .text = std::move(event.text)};
  message.kind = event.kind == Event::Kind::Death    ? Message::Kind::Death
                 : event.kind == Event::Kind::Result ? Message::Kind::Result
                                                     : Message::Kind::Failure;
  if (message.kind != Message::Kind::Death) message.tasks = {event.task};
  return message;
}

std::optional<Event> eventOf(Message message) {
  Event event{
      .worker = message.worker, .seconds = message.seconds, .text = std::move(message.text)};
  if (message.kind == Message::Kind::Death) {
    event.kind = Event::Kind::Death;
    return event;
  }
  const bool isResult = message.kind == Message::Kind::Result;
  if ((!isResult && message.kind != Message::Kind::Failure) || message.tasks.size() != 1) {
    return std::nullopt;
  }
  event.kind = isResult ? Event::Kind::Result : Event::Kind::Failure;
  event.task = message.tasks.front();
  return event;
}

std::string packed(const Message& message) {
  contract::Packer wire;
  visit(wire, message);
  wire.number(message.kind);
  contract::Packer whole;
  whole.text(wire.take());
  return whole.take();
}

std::optional<Message> MessageStream::next() {
  const std::string_view rest = std::string_view(bytes_).substr(used_);
  Length length = 0;
  if (rest.size() < sizeof length) return std::nullopt;
  std::memcpy(&length, rest.data(), sizeof length);
  if (length > kLongest) throw CutError();
  if (rest.size() - sizeof length < length) return std::nullopt;
  Message message = unpacked(rest.substr(sizeof length, length));
  used_ += sizeof length + length;
  if (used_ == bytes_.size() || used_ > bytes_.size() / 2) {  // seldom, so that it costs little
    bytes_.erase(0, used_);
    used_ = 0;
  }
  return message;
}

}  // namespace zdb::sweep
