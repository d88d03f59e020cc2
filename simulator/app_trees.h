// What the applications started: each one's process with all that descends from it, whatever session or parent that has
// found for itself. Nothing else is ever ended here.
#pragma once

#include <glib.h>

#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>

#include "processes.h"

namespace simulator {

class AppTrees {
 public:
  // Descendants whose parent ends become this process's children from now on. Children that it has already are not the
  // applications' and stay alone, with their own descendants.
  AppTrees();
  ~AppTrees();
  AppTrees(const AppTrees&) = delete;
  AppTrees& operator=(const AppTrees&) = delete;

  // A tree is known before its root is there: the mark is a variable for the root's environment.
  int New() { return ++last_; }
  std::pair<std::string, std::string> MarkOf(int tree) const;
  void Started(int tree, pid_t root);
  // The root has ended and was waited for; what is left of the tree ends as well.
  void RootEnded(int tree);

  // SIGTERM to all of the tree, and SIGKILL to what there is of it after the patience.
  void End(int tree);
  void EndAll();
  // Processes of any tree that still live, besides the roots.
  std::size_t Left();

 private:
  struct Tree {
    pid_t root = 0;   // until it was waited for
    pid_t group = 0;  // of the root; 0 once the number may be another one's
    bool ending = false;
    gint64 deadline = 0;
  };
  using Identity = std::pair<pid_t, unsigned long long>;
  using Members = std::map<Identity, int>;  // and the tree of each

  Members FindMembers(const ProcessTable& table) const;
  std::optional<int> TreeOf(const ProcessEntry& process, const ProcessTable& table) const;
  std::optional<int> TreeOfRoot(pid_t pid) const;
  std::optional<int> TreeOfOrphan(const ProcessEntry& orphan) const;
  void Look();
  void Begin(int number, Tree& tree) const;
  void AskLate(const Members& before) const;
  void EndLate();
  void Reap(const ProcessTable& table) const;
  void Signal(int number, const Tree& tree, int signal) const;
  void KillOverdue() const;
  void DropEmpty();
  void LookLater();

  std::map<int, Tree> trees_;
  int last_ = 0;
  std::set<Identity> strangers_;  // descendants from before
  Members members_;               // as of the last look
  ProcessTable table_;            // likewise
  guint timer_ = 0;
  bool soon_ = false;  // how the timer is set
};

}  // namespace simulator
