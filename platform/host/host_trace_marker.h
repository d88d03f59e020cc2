// Spans in the kernel's trace buffer.
#pragma once

#include <atomic>

#include "host_guest_file.h"

namespace nuv::host {

// Writes "B|pid|text" and "E|pid", the form trace viewers read, to the first of the files that can be opened. Where
// there is none, a call costs one load and a compare.
class TraceMarker {
 public:
  // The paths have to outlive the marker.
  constexpr TraceMarker(const char* first, const char* second) : paths_{first, second} {}

  void Begin(const char* text);
  void End();

 private:
  GuestFile* File();
  GuestFile* FindFile();

  const char* paths_[2];
  std::atomic<bool> nowhere_{false};
  std::atomic<GuestFile*> file_{nullptr};  // kept for the life of the process
};

}  // namespace nuv::host
