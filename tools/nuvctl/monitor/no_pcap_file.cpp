#include "monitor/pcap_file.h"

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
