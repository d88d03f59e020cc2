#include "host_trace_marker.h"

#include <errno.h>
#include <unistd.h>

#include <charconv>
#include <cstring>
#include <memory>

#include "host_cancellation.h"
#include "host_guard.h"

namespace nuv::host {

namespace {

constexpr size_t kLineLimit = 1024;  // the kernel cuts longer lines

// Starts the line: letter, bar, process id. Returns its end.
char* StartLine(char* line, char letter) {
  line[0] = letter;
  line[1] = '|';
  return std::to_chars(line + 2, line + 16, getpid()).ptr;
}

}  // namespace

void TraceMarker::Begin(const char* text) {
  GuestFile* const file = File();
  if (file == nullptr) return;
  const CancellationOff off;
  const int saved = errno;
  char line[kLineLimit];
  char* end = StartLine(line, 'B');
  *end++ = '|';
  for (; text != nullptr && *text != '\0' && end < line + kLineLimit; ++text) *end++ = *text == '\n' ? ' ' : *text;
  file->Write(line, static_cast<size_t>(end - line));
  errno = saved;
}

void TraceMarker::End() {
  GuestFile* const file = File();
  if (file == nullptr) return;
  const CancellationOff off;
  const int saved = errno;
  char line[32];
  const char* const end = StartLine(line, 'E');
  file->Write(line, static_cast<size_t>(end - line));
  errno = saved;
}

GuestFile* TraceMarker::File() {
  if (nowhere_.load(std::memory_order_relaxed)) return nullptr;
  GuestFile* const file = file_.load(std::memory_order_acquire);
  return file != nullptr ? file : FindFile();
}

GuestFile* TraceMarker::FindFile() {
  const int saved = errno;
  GuestFile* const found = Guarded<GuestFile*>(nullptr, [this]() -> GuestFile* {
    for (const char* path : paths_) {
      auto file = std::make_unique<GuestFile>(path, 0);
      if (!file->Open()) continue;
      GuestFile* first = nullptr;
      return file_.compare_exchange_strong(first, file.get(), std::memory_order_acq_rel) ? file.release() : first;
    }
    return nullptr;
  });
  if (found == nullptr) nowhere_.store(true, std::memory_order_relaxed);
  errno = saved;
  return found;
}

}  // namespace nuv::host
