// SPDX-License-Identifier: Apache-2.0
// Velmora benchmarks: what the benchmarks share. The floor of a round trip between two processes (a
// child echoing length-prefixed frames over a Unix socketpair, as the host's ports frame them), and
// a reporter that keeps the mean time of every benchmark for the comparison table each benchmark
// prints at the end.
#pragma once

#include <benchmark/benchmark.h>
#include <glib.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <map>
#include <string>
#include <vector>

namespace vbench {

// A new private directory named after `pattern` ("...-XXXXXX") in the temporary directory, and
// this process's platform root (VELMORA_PLATFORM_ROOT) when `as_root`; "" when it cannot be made.
inline std::string make_temp_dir(const char *pattern, bool as_root) {
  gchar *dir = g_dir_make_tmp(pattern, nullptr);
  if (!dir) return "";
  const std::string out = dir;
  g_free(dir);
  if (as_root) setenv("VELMORA_PLATFORM_ROOT", out.c_str(), 1);
  return out;
}

// ---- the floor: frames on a blocking stream socket ----

inline bool write_all(int fd, const void *data, size_t n) {
  const char *p = static_cast<const char *>(data);
  while (n > 0) {
    const ssize_t w = write(fd, p, n);
    if (w < 0 && errno == EINTR) continue;
    if (w <= 0) return false;
    p += w;
    n -= static_cast<size_t>(w);
  }
  return true;
}

inline bool read_all(int fd, void *data, size_t n) {
  char *p = static_cast<char *>(data);
  while (n > 0) {
    const ssize_t r = read(fd, p, n);
    if (r < 0 && errno == EINTR) continue;
    if (r <= 0) return false;
    p += r;
    n -= static_cast<size_t>(r);
  }
  return true;
}

// A frame as the host's ports send it: uint32 length, then `payload` filler bytes.
inline std::vector<unsigned char> frame(size_t payload) {
  std::vector<unsigned char> f(4 + payload, 0xab);
  const uint32_t len = static_cast<uint32_t>(payload);
  memcpy(f.data(), &len, 4);
  return f;
}

inline bool read_frame(int fd, std::vector<unsigned char> *buf) {
  uint32_t len = 0;
  if (!read_all(fd, &len, 4)) return false;
  buf->resize(len);
  return len == 0 || read_all(fd, buf->data(), len);
}

// The other end of the floor: a child process answering every request frame with a response frame
// of `response_payload` bytes, and doing nothing else.
struct EchoPeer {
  pid_t pid = -1;
  int fd = -1;
};

// Starts the echoing child; call it before this process has threads. False when it cannot.
inline bool start_echo_peer(size_t response_payload, EchoPeer *peer) {
  int sv[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sv) != 0) return false;
  const pid_t pid = fork();
  if (pid < 0) return false;
  if (pid == 0) {
    close(sv[0]);
    const std::vector<unsigned char> out = frame(response_payload);
    std::vector<unsigned char> in;
    while (read_frame(sv[1], &in))
      if (!write_all(sv[1], out.data(), out.size())) break;
    _exit(0);
  }
  close(sv[1]);
  peer->pid = pid;
  peer->fd = sv[0];
  return true;
}

// One round trip of the floor.
inline bool echo_once(const EchoPeer &peer, const std::vector<unsigned char> &request,
                      std::vector<unsigned char> *response) {
  return write_all(peer.fd, request.data(), request.size()) && read_frame(peer.fd, response);
}

// Stops the echoing child and closes the floor's socket.
inline void stop_echo_peer(EchoPeer *peer) {
  if (peer->pid <= 0) return;
  close(peer->fd);
  kill(peer->pid, SIGKILL);
  int status;
  waitpid(peer->pid, &status, 0);
  *peer = EchoPeer{};
}

// ---- results ----

// Prints as usual and keeps the mean real and CPU time per iteration of every benchmark, by name,
// in the unit the benchmark was registered with. A benchmark whose CPU time is spent in two
// processes reports it in a user counter; name that counter to use it instead of this process's
// own.
class Recorder : public benchmark::ConsoleReporter {
 public:
  explicit Recorder(const char *cpu_counter = nullptr)
      : ConsoleReporter(isatty(STDOUT_FILENO) ? OO_Defaults : OO_Tabular),
        cpu_counter_(cpu_counter ? cpu_counter : "") {}

  void ReportRuns(const std::vector<Run> &runs) override {
    for (const Run &r : runs) {
      if (r.run_type != Run::RT_Iteration || r.error_occurred) continue;
      Times &t = times_[r.run_name.function_name];
      t.real += r.GetAdjustedRealTime();
      auto counter = cpu_counter_.empty() ? r.counters.end() : r.counters.find(cpu_counter_);
      t.cpu += counter != r.counters.end() ? counter->second.value : r.GetAdjustedCPUTime();
      t.runs += 1;
    }
    ConsoleReporter::ReportRuns(runs);
  }

  // False when the benchmark did not run (filtered out or failed).
  bool mean(const std::string &name, double *real, double *cpu = nullptr) const {
    auto it = times_.find(name);
    if (it == times_.end()) return false;
    *real = it->second.real / it->second.runs;
    if (cpu) *cpu = it->second.cpu / it->second.runs;
    return true;
  }

 private:
  struct Times {
    double real = 0, cpu = 0;
    int runs = 0;
  };
  std::string cpu_counter_;
  std::map<std::string, Times> times_;
};

}  // namespace vbench
