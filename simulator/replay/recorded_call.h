// What makes two calls of the service the same, whichever run they come from.
#pragma once

#include <gio/gio.h>

#include <optional>
#include <string>

namespace simulator {

// Equal for calls of one method whose arguments are the same, but for those that differ from run to run.
std::string KeyOf(const std::string& method, GVariant* arguments);

// The client object that waits for the results of a call, and what it knows them by.
struct ResultAddress {
  std::string object_name;
  int thread_id = 0;
  int event_index = 0;
};

// Nothing where the call asks for no results.
std::optional<ResultAddress> AddressIn(const std::string& method, GVariant* arguments);

// The method with its application, or with its arguments where it has none; short.
std::string CallInWords(const std::string& method, GVariant* arguments);

}  // namespace simulator
