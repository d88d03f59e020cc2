// The file that what passes on the bus is written into.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "monitor/pcap_file.h"
#include "monitor/redaction.h"
#include "recording/format.h"
#include "recording/writer.h"

class Recorder {
 public:
  enum class Form { kRecording, kPcap };

  static bool HasPcap() { return PcapFile::IsBuiltIn(); }

  // False where it failed, which Problem() then says. Nothing is written before.
  bool Open(const std::string& path, Form form, bool overwrite, const recording::Header& header);
  bool Take(const recording::Entry& entry);
  void End(std::int64_t t_us, const std::string& reason);

  std::uint64_t messages() const { return messages_; }
  const std::string& Problem() const { return problem_; }

 private:
  bool Succeeded(const std::string& why);

  std::string path_;
  Form form_ = Form::kRecording;
  std::optional<Redaction> redaction_;
  std::optional<recording::Writer> writer_;
  std::optional<PcapFile> pcap_;
  std::int64_t start_us_ = 0;  // of the clock that a capture has
  std::uint64_t messages_ = 0;
  std::string problem_;
};
