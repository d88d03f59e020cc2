// Messages as a packet capture, for the tools that read these.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct PcapDump;

class PcapFile {
 public:
  PcapFile();
  ~PcapFile();
  PcapFile(const PcapFile&) = delete;
  PcapFile& operator=(const PcapFile&) = delete;

  static bool IsBuiltIn();

  // These say why they failed, or nothing. The file is one that was opened for writing, and is closed with this.
  std::string Open(int fd);
  std::string Write(std::int64_t unix_us, const std::vector<unsigned char>& message);

 private:
  std::unique_ptr<PcapDump> dump_;
};
