#include "left_behind.h"

#include <dirent.h>
#include <nuv_common/nuv_lock.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <functional>
#include <memory>
#include <set>
#include <thread>

#include "nuv_db_api/nuv_db_statement.h"
#include "nuv_inner_db_api/nuv_db_connection.h"

namespace {

using Lines = std::vector<std::string>;
using Named = std::map<std::string, std::string>;

// The entries of a directory of numbers, each with what the function knows of it; those that vanish meanwhile, and
// whatever the function does not want, are left out.
template <typename Describe>
Named Numbered(const char* directory, Describe describe) {
  Named entries;
  const std::unique_ptr<DIR, int (*)(DIR*)> open(opendir(directory), closedir);
  while (const dirent* entry = readdir(open.get())) {
    const std::string number = entry->d_name;
    if (number[0] == '.' || number == std::to_string(dirfd(open.get()))) continue;
    const std::string description = describe(std::string(directory) + "/" + number);
    if (!description.empty()) entries.emplace(number, description);
  }
  return entries;
}

const std::string kRemoved = " (deleted)";

Named Descriptors() {
  return Numbered("/proc/self/fd", [](const std::string& path) {
    std::array<char, 512> target{};
    if (readlink(path.c_str(), target.data(), target.size() - 1) < 0) return std::string();
    // A file that somebody removes meanwhile is the same one.
    std::string name = target.data();
    const size_t mark = name.size() - std::min(name.size(), kRemoved.size());
    if (name.compare(mark, std::string::npos, kRemoved) == 0) name.resize(mark);
    return name;
  });
}

Named Threads() {
  return Numbered("/proc/self/task", [](const std::string& path) {
    std::string name;
    std::getline(std::ifstream(path + "/comm"), name);
    return name;
  });
}

// What was closed and opened again may have another number.
void AddDescriptors(const Named& before, Lines& lines) {
  std::multiset<std::string> gone;
  const Named now = Descriptors();
  const auto differs = [](const Named& from, const std::string& number, const std::string& target) {
    const auto same = from.find(number);
    return same == from.end() || same->second != target;
  };
  for (const auto& [number, target] : before) {
    if (differs(now, number, target)) gone.insert(target);
  }
  for (const auto& [number, target] : now) {
    if (!differs(before, number, target)) continue;
    const auto moved = gone.find(target);
    if (moved == gone.end()) {
      lines.push_back("descriptor " + number + " of " + target);
    } else {
      gone.erase(moved);
    }
  }
}

// A thread may still get its name.
void AddThreads(const Named& before, Lines& lines) {
  for (const auto& [id, name] : Threads()) {
    if (before.count(id) == 0) lines.push_back("thread " + id + " " + name);
  }
}

void AddStatements(sqlite3* connection, Lines& lines) {
  if (connection == nullptr) return;
  for (sqlite3_stmt* statement = sqlite3_next_stmt(connection, nullptr); statement != nullptr;
       statement = sqlite3_next_stmt(connection, statement)) {
    lines.push_back(std::string("statement ") + sqlite3_sql(statement));
  }
}

// Locks and what they guard. A mutex that its holder may enter again shows only to another thread.
void AddHeld(Lines& lines) {
  const auto take = [&lines](const char* name, pthread_mutex_t& mutex, auto look) {
    if (pthread_mutex_trylock(&mutex) != 0) {
      lines.push_back(std::string("lock ") + name);
      return;
    }
    look();
    pthread_mutex_unlock(&mutex);
  };
  take("g_Mute", g_Mute, [] {});
  take("g_inner_Mute", g_inner_Mute, [] {});
  take("turn of the read side", readSide.turn, [&] { AddStatements(g_pConnection, lines); });
  take("turn of the inner side", innerSide.turn, [&] { AddStatements(g_pConnection_Inner, lines); });
}

// join() may return before the kernel has taken the thread off its list, where the next look would find it.
void InAThreadThatHasGone(const std::function<void()>& work) {
  std::string entry;
  std::thread([&] {
    entry = "/proc/self/task/" + std::to_string(gettid());
    work();
  }).join();
  WaitUntil([&] { return access(entry.c_str(), F_OK) != 0; }, Milliseconds(10000));
}

}  // namespace

LeftBehind::LeftBehind() : descriptors_(Descriptors()), threads_(Threads()) {}

std::vector<std::string> LeftBehind::LookOnce() const {
  Lines lines;
  AddDescriptors(descriptors_, lines);
  AddThreads(threads_, lines);
  InAThreadThatHasGone([&lines] { AddHeld(lines); });
  return lines;
}

std::vector<std::string> LeftBehind::Now(Milliseconds limit) const {
  Lines lines;
  WaitUntil(
      [&] {
        lines = LookOnce();
        return lines.empty();
      },
      limit);
  return lines;
}
