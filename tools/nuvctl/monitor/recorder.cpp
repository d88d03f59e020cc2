#include "monitor/recorder.h"

#include <glib.h>

#include <cerrno>
#include <cstring>

#include "report/text.h"

bool Recorder::Open(const std::string& path, Form form, bool overwrite, const recording::Header& header) {
  path_ = path;
  form_ = form;
  start_us_ = g_get_real_time();
  if (header.redacted) redaction_.emplace();
  using Existing = recording::Writer::Existing;
  const int fd = recording::Writer::OpenFile(path, overwrite ? Existing::kReplace : Existing::kRefuse);
  if (fd < 0 && errno == EEXIST) return Succeeded("it is there already, and only --force overwrites it");
  if (fd < 0) return Succeeded(std::strerror(errno));
  if (form == Form::kPcap) return Succeeded(pcap_.emplace().Open(fd));
  return Succeeded(writer_.emplace(fd).Write(header));
}

bool Recorder::Take(const recording::Entry& entry) {
  if (recording::IsMessage(entry.kind)) ++messages_;
  const recording::Entry taken = redaction_ ? redaction_->Of(entry) : entry;
  std::string why;
  if (writer_) why = writer_->Write(taken);
  if (pcap_ && recording::IsMessage(taken.kind)) why = pcap_->Write(start_us_ + taken.t_us, taken.bytes);
  if (Succeeded(why)) return true;
  End(taken.t_us, why == std::strerror(ENOSPC) ? "disk full" : why);
  return false;
}

void Recorder::End(std::int64_t t_us, const std::string& reason) {
  if (!writer_) return;
  const std::string why = writer_->End(t_us, reason);
  if (problem_.empty()) Succeeded(why);
}

// Whether there is no reason why not.
bool Recorder::Succeeded(const std::string& why) {
  if (!why.empty()) problem_ = "cannot write " + Printable(path_) + ": " + why;
  return why.empty();
}
