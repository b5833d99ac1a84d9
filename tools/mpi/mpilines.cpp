#include "mpilines.h"

#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <utility>

namespace zdb::mpi {

namespace {

/// Tags of messages.
constexpr int kMore = 1;
constexpr int kLast = 2;

constexpr int kPause = 1;       // milliseconds between looks at the other side
constexpr int kPatience = 100;  // of them without anything

}  // namespace

void Mail::send(int rank, std::string bytes, bool isLast) {
  Sending& sending = sending_.emplace_back(Sending{std::move(bytes)});
  MPI_Isend(sending.bytes.data(), static_cast<int>(sending.bytes.size()), MPI_BYTE, rank,
            isLast ? kLast : kMore, MPI_COMM_WORLD, &sending.request);
}

void Mail::finish() {
  for (Sending& each : sending_) MPI_Wait(&each.request, MPI_STATUS_IGNORE);
  sending_.clear();
}

std::optional<Mail::Letter> Mail::receive() {
  int isThere = 0;
  std::erase_if(sending_, [&](Sending& each) {
    MPI_Test(&each.request, &isThere, MPI_STATUS_IGNORE);
    return isThere != 0;
  });
  MPI_Status status;
  MPI_Iprobe(MPI_ANY_SOURCE, MPI_ANY_TAG, MPI_COMM_WORLD, &isThere, &status);
  if (isThere == 0) return std::nullopt;
  int size = 0;
  MPI_Get_count(&status, MPI_BYTE, &size);
  Letter letter{status.MPI_SOURCE, status.MPI_TAG == kLast,
                std::string(static_cast<std::size_t>(size), 0)};
  MPI_Recv(letter.bytes.data(), size, MPI_BYTE, letter.from, status.MPI_TAG, MPI_COMM_WORLD,
           MPI_STATUS_IGNORE);
  return letter;
}

void SocketMail::send(const std::string& bytes) {
  unsent_ += bytes;
  const ssize_t sent = ::send(socket_, unsent_.data(), unsent_.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
  if (sent > 0) unsent_.erase(0, static_cast<std::size_t>(sent));
}

std::optional<std::string> SocketMail::receive(int milliseconds) {
  if (!unsent_.empty()) send({});
  pollfd socket{socket_, static_cast<short>(unsent_.empty() ? POLLIN : POLLIN | POLLOUT), 0};
  if (poll(&socket, 1, milliseconds) <= 0 || (socket.revents & ~POLLOUT) == 0) return std::nullopt;
  std::array<char, 1 << 16> buffer;
  const ssize_t count = recv(socket_, buffer.data(), buffer.size(), MSG_DONTWAIT);
  if (count < 0 && (errno == EINTR || errno == EAGAIN)) return std::nullopt;
  return std::string(buffer.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
}

MpiLines::MpiLines(int ownSocket) : own_(ownSocket) {
  int size = 0;
  MPI_Comm_size(MPI_COMM_WORLD, &size);
  size_ = static_cast<std::size_t>(size);
}

void MpiLines::finish() {
  for (std::size_t rank = 1; rank < size_; ++rank) others_.send(static_cast<int>(rank), {}, true);
  for (std::size_t left = size_ - 1; left > 0;) {
    const auto letter = others_.receive();
    if (!letter) poll(nullptr, 0, kPause);
    if (letter && letter->isLast) --left;
  }
  others_.finish();
}

void MpiLines::send(std::size_t line, const std::string& bytes) {
  line == 0 ? own_.send(bytes) : others_.send(static_cast<int>(line), bytes);
}

std::optional<sweep::Lines::Piece> MpiLines::receive() {
  for (int i = 0; i < kPatience; ++i) {
    if (auto letter = others_.receive()) {
      return Piece{static_cast<std::size_t>(letter->from), std::move(letter->bytes)};
    }
    if (auto bytes = own_.receive(kPause)) return Piece{0, std::move(*bytes)};
  }
  return std::nullopt;
}

void relay(int ownSocket) {
  SocketMail supervisor(ownSocket);
  Mail chief;
  bool isOpen = true;
  for (;;) {
    if (const auto letter = chief.receive()) {
      if (letter->isLast) break;
      supervisor.send(letter->bytes);
      continue;
    }
    if (!isOpen) {
      poll(nullptr, 0, kPause);
    } else if (auto bytes = supervisor.receive(kPause)) {
      isOpen = !bytes->empty();
      chief.send(0, std::move(*bytes));
    }
  }
  chief.send(0, {}, true);
  chief.finish();
}

}  // namespace zdb::mpi
