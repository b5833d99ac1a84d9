#pragma once

#include <mpi.h>

#include <list>
#include <optional>
#include <string>
#include <vector>

#include "sweep/remotecrew.h"

namespace zdb::mpi {

/// Sends bytes between ranks. Neither side waits for the other as long as both have work, so none
/// can wait for ever.
class Mail {
 public:
  struct Letter {
    int from = 0;
    bool isLast = false;  ///< nothing follows from this rank
    std::string bytes;    ///< empty: its supervisor has ended
  };

  void send(int rank, std::string bytes, bool isLast = false);
  /// Waits until all is sent. REQUIRES that the others receive.
  void finish();
  /// None if there is nothing to receive now.
  std::optional<Letter> receive();

 private:
  struct Sending {
    std::string bytes;
    MPI_Request request = MPI_REQUEST_NULL;
  };
  std::list<Sending> sending_;
};

/// Between a process and its supervisor's socket, in both directions; also never waits.
class SocketMail {
 public:
  explicit SocketMail(int socket) : socket_(socket) {}

  void send(const std::string& bytes);
  /// Waits at most so long for something to come or to be sent. None if nothing came, empty at
  /// the end.
  std::optional<std::string> receive(int milliseconds);

 private:
  int socket_;
  std::string unsent_;
};

/// The supervisors of all ranks, seen from rank 0: its own behind a socket, the others behind their
/// ranks.
class MpiLines : public sweep::Lines {
 public:
  explicit MpiLines(int ownSocket);

  /// Tells the other ranks that it is over, and receives what they have still sent.
  void finish();

  std::size_t size() const override { return size_; }
  void send(std::size_t line, const std::string& bytes) override;
  std::optional<Piece> receive() override;

 private:
  std::size_t size_;
  SocketMail own_;
  Mail others_;
};

/// What a rank other than 0 does: passes on what its supervisor and rank 0 say to each other, until
/// rank 0 says that it is over.
void relay(int ownSocket);

}  // namespace zdb::mpi
