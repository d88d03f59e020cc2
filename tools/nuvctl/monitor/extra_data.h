// The extra data of a launch, as it travels.
#pragma once

#include <gio/gio.h>

#include <string>
#include <utility>
#include <vector>

using ExtraData = std::vector<std::pair<std::string, std::string>>;

// Of records ("aay"), of which those that have another size are passed over, or of texts ("a(ss)").
ExtraData ExtraDataOf(GVariant* value);

// The record of a pair, cut to what it holds.
GVariant* RecordOf(const std::string& key, const std::string& value);

constexpr std::size_t kExtraRecord = 1024;
