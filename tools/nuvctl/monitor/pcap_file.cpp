#include "monitor/pcap_file.h"

#ifdef NUVCTL_WITH_PCAP

#include <pcap/pcap.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace {

constexpr int kLongestMessage = 128 << 20;
constexpr std::int64_t kMicroseconds = 1000000;

}  // namespace

struct PcapDump {
  pcap_t* capture = nullptr;
  pcap_dumper_t* file = nullptr;

  PcapDump() = default;
  ~PcapDump() {
    if (file != nullptr) pcap_dump_close(file);
    if (capture != nullptr) pcap_close(capture);
  }
  PcapDump(const PcapDump&) = delete;
  PcapDump& operator=(const PcapDump&) = delete;
};

PcapFile::PcapFile() : dump_(std::make_unique<PcapDump>()) {}

PcapFile::~PcapFile() = default;

bool PcapFile::IsBuiltIn() {
  return true;
}

std::string PcapFile::Open(int fd) {
  std::FILE* stream = fdopen(fd, "w");
  if (stream == nullptr) return std::strerror(errno);
  dump_->capture = pcap_open_dead(DLT_DBUS, kLongestMessage);
  if (dump_->capture == nullptr) return std::strerror(ENOMEM);
  dump_->file = pcap_dump_fopen(dump_->capture, stream);
  if (dump_->file == nullptr) return pcap_geterr(dump_->capture);
  return pcap_dump_flush(dump_->file) == 0 ? "" : std::strerror(errno);
}

std::string PcapFile::Write(std::int64_t unix_us, const std::vector<unsigned char>& message) {
  pcap_pkthdr header = {};
  header.ts.tv_sec = static_cast<decltype(header.ts.tv_sec)>(unix_us / kMicroseconds);
  header.ts.tv_usec = static_cast<decltype(header.ts.tv_usec)>(unix_us % kMicroseconds);
  header.caplen = static_cast<bpf_u_int32>(message.size());
  header.len = header.caplen;
  pcap_dump(reinterpret_cast<u_char*>(dump_->file), &header, message.data());
  const bool written = pcap_dump_flush(dump_->file) == 0 && std::ferror(pcap_dump_file(dump_->file)) == 0;
  return written ? "" : std::strerror(errno);
}

#else

// Of a build without the library for packet captures.
struct PcapDump {};

PcapFile::PcapFile() = default;

PcapFile::~PcapFile() = default;

bool PcapFile::IsBuiltIn() {
  return false;
}

std::string PcapFile::Open(int) {
  return "packet captures are not built in";
}

std::string PcapFile::Write(std::int64_t, const std::vector<unsigned char>&) {
  return "packet captures are not built in";
}

#endif
