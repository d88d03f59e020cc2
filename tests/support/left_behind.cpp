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

// The entries of a directory whose names are numbers, each with its description. An entry without one is left out: it
// has vanished meanwhile, or is of no interest.
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
    // A file that somebody removes meanwhile counts as the same file.
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

// A file that was closed and opened again may have another number.
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

// Threads are compared by their ids alone: a new thread may not have its name yet.
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

// Adds the locks that are held, and the statements that they guard. A recursive mutex shows as held only to a thread
// that does not hold it.
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

// Waits until the thread is off the kernel's list, where the next look would find it: join() may return before that.
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
