// What was remembered under keys, and used last: of what never stops coming, the rest is forgotten.
#pragma once

#include <cstddef>
#include <list>
#include <map>

template <typename Key, typename Kept>
class Recent {
 public:
  explicit Recent(std::size_t most = 4096) : most_(most) {}

  Kept& operator[](const Key& key) {
    if (Kept* known = Find(key)) return *known;
    if (kept_.size() >= most_) Erase(order_.front());
    order_.push_back(key);
    return kept_.emplace(key, Place{Kept(), std::prev(order_.end())}).first->second.kept;
  }
  // Null where there is none.
  Kept* Find(const Key& key) {
    const auto found = kept_.find(key);
    if (found == kept_.end()) return nullptr;
    order_.splice(order_.end(), order_, found->second.place);
    return &found->second.kept;
  }
  void Erase(const Key& key) {
    const auto found = kept_.find(key);
    if (found == kept_.end()) return;
    const auto place = found->second.place;
    kept_.erase(found);
    order_.erase(place);  // last: the key may be the one there
  }
  void Clear() {
    kept_.clear();
    order_.clear();
  }

 private:
  struct Place {
    Kept kept;
    typename std::list<Key>::iterator place;
  };

  const std::size_t most_;
  std::list<Key> order_;  // the one that was used last is the last
  std::map<Key, Place> kept_;
};
