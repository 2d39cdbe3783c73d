// Turns are taken by child processes forked for the row, one an allocator, which wait for their turn on a
// pipe. So no row inherits the heap of another, no allocator shares the system's break or its dirty pages
// with the next (the library takes its memory from glibc's malloc), resident pages belong to one allocator
// alone, and a crash or a deadlock costs one figure.
#include "memory/turns.h"

#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <memory>
#include <system_error>

namespace zenthar::bench {
namespace {

constexpr int kPatienceMilliseconds = 30000;

// One allocator's process. The parent sends one byte a turn and gets one figure back.
class Player {
 public:
  Player(const Row& row, const Allocator& allocator) {
    int orders[2], answers[2];
    if (pipe(orders) != 0) throw std::system_error(errno, std::generic_category(), "pipe");
    if (pipe(answers) != 0) throw std::system_error(errno, std::generic_category(), "pipe");
    std::fflush(nullptr);
    const pid_t parent = getpid();
    process_ = fork();
    if (process_ < 0) throw std::system_error(errno, std::generic_category(), "fork");
    if (process_ == 0) {
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      prctl(PR_SET_NAME, allocator.name.c_str());  // profilers tell the players apart by it
      if (getppid() == parent) play(row, allocator, orders[0], answers[1]);
      _exit(EXIT_FAILURE);
    }
    close(orders[0]);
    close(answers[1]);
    orders_ = orders[1];
    answers_ = answers[0];
  }
  Player(const Player&) = delete;
  Player& operator=(const Player&) = delete;
  ~Player() {
    if (process_ > 0) end();
    close(orders_);
    close(answers_);
  }

  void take_turn(Result& result) {
    if (!result.failure.empty()) return;
    double figure = 0;
    const char go = 1;
    pollfd answer{answers_, POLLIN, 0};
    const bool asked = write(orders_, &go, 1) == 1;
    if (asked && poll(&answer, 1, kPatienceMilliseconds) == 0) {
      end();
      result.failure = "gave no answer for " + std::to_string(kPatienceMilliseconds / 1000) + " s";
    } else if (!asked || read(answers_, &figure, sizeof figure) != sizeof figure) {
      result.failure = end();
    } else {
      result.figures.push_back(figure);
    }
  }

 private:
  // Ends the process if it still runs, and says how it ended.
  std::string end() {
    // A process that broke down has ended, or is about to, once its answers stop; only a waiting one is
    // killed.
    int status = 0;
    if (waitpid(process_, &status, WNOHANG) == 0) {
      pollfd answer{answers_, POLLIN, 0};
      if (poll(&answer, 1, 0) == 0 || (answer.revents & POLLHUP) == 0) kill(process_, SIGKILL);
      waitpid(process_, &status, 0);
    }
    process_ = 0;
    if (WIFSIGNALED(status)) return std::string("ended by ") + strsignal(WTERMSIG(status));
    return "ended with status " + std::to_string(WEXITSTATUS(status));
  }

  [[noreturn]] static void play(const Row& row, const Allocator& allocator, int orders, int answers) {
    try {
      const auto workload = row.make(allocator);
      for (char go; read(orders, &go, 1) == 1;) {
        const double figure = workload->turn();
        if (write(answers, &figure, sizeof figure) != sizeof figure) break;
      }
    } catch (const std::exception& error) {
      std::fprintf(stderr, "%s, row \"%s\": %s\n", allocator.name.c_str(), row.name.c_str(), error.what());
      _exit(EXIT_FAILURE);
    }
    _exit(EXIT_SUCCESS);
  }

  pid_t process_ = 0;
  int orders_ = -1;
  int answers_ = -1;
};

}  // namespace

std::vector<Result> run_row(const Row& row, const std::vector<Allocator>& allocators, int repetitions) {
  std::vector<std::unique_ptr<Player>> players;
  std::vector<Result> results(allocators.size());
  for (size_t i = 0; i < allocators.size(); ++i) {
    players.push_back(std::make_unique<Player>(row, allocators[i]));
    players.back()->take_turn(results[i]);  // the warm-up, which also keeps the set-ups from overlapping
  }
  if (row.once) return results;
  for (Result& result : results) result.figures.clear();
  for (int repetition = 0; repetition < repetitions; ++repetition)
    for (size_t turn = 0; turn < players.size(); ++turn) {
      const size_t i = (turn + static_cast<size_t>(repetition)) % players.size();
      players[i]->take_turn(results[i]);
    }
  return results;
}

}  // namespace zenthar::bench
