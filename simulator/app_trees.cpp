#include "app_trees.h"

#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <tuple>
#include <utility>
#include <vector>

#include "glib_ptr.h"

namespace simulator {
namespace {

constexpr const char* kMark = "NUV_SIMULATOR_TREE";
constexpr int kNobodys = 0;  // the tree of processes of which nobody can tell which application started them
constexpr gint64 kPatienceUs = 2 * G_TIME_SPAN_SECOND;
constexpr int kLookMs = 1000;
constexpr int kLookWhileEndingMs = 50;

// Whether the process descends from this one. The table is read while processes come and go, so its parents may go
// round in circles.
bool IsDescendant(const ProcessEntry& process, const ProcessTable& table) {
  const pid_t self = getpid();
  auto at = table.find(process.pid);
  for (std::size_t steps = 0; at != table.end() && steps < table.size(); ++steps) {
    if (at->second.parent == self) return true;
    at = table.find(at->second.parent);
  }
  return false;
}

}  // namespace

AppTrees::AppTrees() {
  const ProcessTable table = ReadProcesses();
  for (const auto& [pid, process] : table) {
    if (IsDescendant(process, table)) strangers_.insert(process.Identity());
  }
  prctl(PR_SET_CHILD_SUBREAPER, 1);
  trees_[kNobodys];
}

AppTrees::~AppTrees() {
  if (timer_ != 0) g_source_remove(timer_);
}

// The process id makes the mark this simulator's own: an application may start a second simulator.
std::pair<std::string, std::string> AppTrees::MarkOf(int tree) const {
  return {kMark, std::to_string(getpid()) + "." + std::to_string(tree)};
}

void AppTrees::Started(int tree, pid_t root) {
  trees_[tree].root = root;
  trees_[tree].group = root;
  LookLater();
}

// Looks for the members of the root's process group once more before it forgets the group: the kernel may give the
// number to another group as soon as the last member has gone.
void AppTrees::RootEnded(int number) {
  trees_[number].root = 0;
  End(number);
  trees_[number].group = 0;
}

void AppTrees::End(int number) {
  Look();
  const auto tree = trees_.find(number);
  if (tree != trees_.end()) Begin(number, tree->second);
  LookLater();
}

void AppTrees::EndAll() {
  Look();
  for (auto& [number, tree] : trees_) Begin(number, tree);
  LookLater();
}

// Sends SIGTERM once. What a program starts after that, in order to tidy up, gets none and has until the deadline.
void AppTrees::Begin(int number, Tree& tree) const {
  if (std::exchange(tree.ending, true)) return;
  tree.deadline = g_get_monotonic_time() + kPatienceUs;
  Signal(number, tree, SIGTERM);
}

// A process of which it turns out late whose it is was not asked to end with the others of its tree.
void AppTrees::AskLate(const Members& before) const {
  for (const auto& [identity, number] : members_) {
    const auto known = before.find(identity);
    const auto tree = trees_.find(number);
    const bool turned_out = known != before.end() && known->second == kNobodys && number != kNobodys;
    if (turned_out && tree != trees_.end() && tree->second.ending) SignalProcess(table_.at(identity.first), SIGTERM);
  }
}

// Ends processes that were not seen before their tree was empty and forgotten.
void AppTrees::EndLate() {
  for (const auto& [identity, number] : members_) {
    if (trees_.count(number) == 0) Begin(number, trees_[number]);
  }
}

std::size_t AppTrees::Left() {
  Look();
  return static_cast<std::size_t>(std::count_if(members_.begin(), members_.end(), [this](const auto& member) {
    const pid_t pid = member.first.first;
    return !TreeOfRoot(pid) && !table_.at(pid).ended;
  }));
}

std::optional<int> AppTrees::TreeOfRoot(pid_t pid) const {
  for (const auto& [number, tree] : trees_) {
    if (tree.root == pid) return number;
  }
  return std::nullopt;
}

// The orphan is a child that this process neither started nor had at the beginning, so an application started it. The
// mark in its environment, or else its process group, tells which one. An orphan without either belongs to nobody's
// tree; if this process had children at the beginning, the orphan may be one of theirs, and is left alone.
std::optional<int> AppTrees::TreeOfOrphan(const ProcessEntry& orphan) const {
  const std::string mark = ReadVariable(orphan.pid, kMark);
  const int marked = std::atoi(mark.c_str() + std::min(mark.size(), mark.find('.') + 1));
  if (marked > kNobodys && marked <= last_ && mark == MarkOf(marked).second) return marked;
  for (const auto& [number, tree] : trees_) {
    if (tree.group != 0 && orphan.group == tree.group) return number;
  }
  return strangers_.empty() ? std::optional<int>(kNobodys) : std::nullopt;
}

// The nearest ancestor that is known decides. One that is nobody's is asked again at each look: while a process becomes
// another program, its environment cannot be seen.
std::optional<int> AppTrees::TreeOf(const ProcessEntry& process, const ProcessTable& table) const {
  const pid_t self = getpid();
  auto at = table.find(process.pid);
  for (std::size_t steps = 0; at != table.end() && steps < table.size(); ++steps) {
    const ProcessEntry& ancestor = at->second;
    if (strangers_.count(ancestor.Identity()) != 0) return std::nullopt;
    const auto known = members_.find(ancestor.Identity());
    if (known != members_.end() && known->second != kNobodys) return known->second;
    if (ancestor.parent == self) {
      const auto tree = TreeOfRoot(ancestor.pid);
      return tree ? tree : TreeOfOrphan(ancestor);
    }
    at = table.find(ancestor.parent);
  }
  return std::nullopt;
}

AppTrees::Members AppTrees::FindMembers(const ProcessTable& table) const {
  Members members;
  for (const auto& [pid, process] : table) {
    if (!IsDescendant(process, table)) continue;
    if (const auto tree = TreeOf(process, table)) members[process.Identity()] = *tree;
  }
  return members;
}

void AppTrees::Look() {
  table_ = ReadProcesses();
  const Members before = std::exchange(members_, FindMembers(table_));
  Reap(table_);
  AskLate(before);
  EndLate();
  KillOverdue();
  DropEmpty();
}

// All but the roots: their child watches wait for them.
void AppTrees::Reap(const ProcessTable& table) const {
  for (const auto& [identity, number] : members_) {
    const ProcessEntry& process = table.at(identity.first);
    if (process.ended && process.parent == getpid() && !TreeOfRoot(process.pid)) waitpid(process.pid, nullptr, WNOHANG);
  }
}

// Parents first: a script is not to go on because the program that it waited for was ended. Without a /proc to look at,
// the root's group is all that can be found.
void AppTrees::Signal(int number, const Tree& tree, int signal) const {
  if (tree.root != 0 && table_.count(tree.root) == 0) kill(-tree.root, signal);
  std::vector<ProcessEntry> processes;
  for (const auto& [identity, member_of] : members_) {
    const ProcessEntry& process = table_.at(identity.first);
    if (member_of == number && !process.ended) processes.push_back(process);
  }
  const auto age = [&](const ProcessEntry& p) { return std::make_tuple(p.pid != tree.root, p.start, p.pid); };
  std::sort(processes.begin(), processes.end(), [&](const auto& a, const auto& b) { return age(a) < age(b); });
  for (const ProcessEntry& process : processes) SignalProcess(process, signal);
}

void AppTrees::KillOverdue() const {
  const gint64 now = g_get_monotonic_time();
  for (const auto& [number, tree] : trees_) {
    if (tree.ending && now >= tree.deadline) Signal(number, tree, SIGKILL);
  }
}

void AppTrees::DropEmpty() {
  for (auto tree = trees_.begin(); tree != trees_.end();) {
    const int number = tree->first;
    const bool empty = std::none_of(members_.begin(), members_.end(), [&](const auto& member) {
      return member.second == number && !table_.at(member.first.first).ended;
    });
    const bool done = empty && tree->second.root == 0 && tree->second.group == 0 && number != kNobodys;
    tree = done ? trees_.erase(tree) : std::next(tree);
  }
}

void AppTrees::LookLater() {
  const bool soon = std::any_of(trees_.begin(), trees_.end(), [](const auto& tree) { return tree.second.ending; });
  if (timer_ != 0 && (soon_ || !soon)) return;
  if (timer_ != 0) g_source_remove(std::exchange(timer_, 0));
  if (trees_.size() == 1 && members_.empty()) return;
  soon_ = soon;
  timer_ = After(soon ? kLookWhileEndingMs : kLookMs, [this] {
    timer_ = 0;
    Look();
    LookLater();
  });
}

}  // namespace simulator
