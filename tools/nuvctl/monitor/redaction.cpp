#include "monitor/redaction.h"

#include <sys/random.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>

#include "glib_handles.h"
#include "monitor/extra_data.h"
#include "recording/message.h"
#include "service/watch_lines.h"

namespace {

using recording::Entry;
using recording::Kind;

constexpr std::size_t kKeySize = 32;
constexpr std::size_t kHexDigits = 16;

std::string RandomKey() {
  std::array<char, kKeySize> key{};
  if (getrandom(key.data(), key.size(), 0) != static_cast<ssize_t>(key.size())) {
    throw std::system_error(errno, std::generic_category(), "no random key");
  }
  return {key.data(), key.size()};
}

std::vector<bool> SecretsOf(const std::vector<Part>& parts) {
  std::vector<bool> secrets(parts.size());
  std::transform(parts.begin(), parts.end(), secrets.begin(), [](const Part& part) { return IsSecret(part.show); });
  return secrets;
}

bool IsRecord(GVariant* value) {
  return g_variant_is_of_type(value, G_VARIANT_TYPE_BYTESTRING) != FALSE && g_variant_n_children(value) == kExtraRecord;
}

}  // namespace

Redaction::Redaction() : key_(RandomKey()) {}

Entry Redaction::Of(const Entry& entry) {
  if (!recording::IsMessage(entry.kind)) return entry;
  const recording::MessageOwner message = recording::MessageOf(entry);
  GVariant* const body = message != nullptr ? g_dbus_message_get_body(message.get()) : nullptr;
  const std::size_t members = body != nullptr ? g_variant_n_children(body) : 0;
  const std::vector<bool> secrets = SecretsOf(entry, members);
  if (std::find(secrets.begin(), secrets.end(), true) == secrets.end()) return entry;
  std::vector<VariantOwner> owned;
  std::vector<GVariant*> children;
  owned.reserve(members);
  children.reserve(members);
  for (std::size_t i = 0; i < members; ++i) {
    const VariantOwner child(g_variant_get_child_value(body, i));
    owned.emplace_back(secrets[i] ? g_variant_take_ref(Redacted(child.get())) : g_variant_ref(child.get()));
    children.push_back(owned.back().get());
  }
  g_dbus_message_set_body(message.get(), g_variant_new_tuple(children.data(), members));
  gsize size = 0;
  const TextOwner blob(
      reinterpret_cast<char*>(g_dbus_message_to_blob(message.get(), &size, G_DBUS_CAPABILITY_FLAGS_NONE, nullptr)));
  Entry redacted = entry;
  redacted.bytes.assign(blob.get(), blob.get() + size);
  return redacted;
}

std::vector<bool> Redaction::SecretsOf(const Entry& entry, std::size_t members) {
  if (entry.kind == Kind::kReply || entry.kind == Kind::kError) return SecretsOfAnswer(entry, members);
  if (entry.kind == Kind::kSignal) {
    if (entry.interface != kSimulatorInterface)
      return std::vector<bool>(members, entry.sender != "org.freedesktop.DBus");
    return SecretsOfSignal(entry.member, entry.signature, members);
  }
  const Method* known = FindMethod(entry.member, entry.signature);
  calls_[{entry.sender, entry.serial}] = {known};
  return known != nullptr ? ::SecretsOf(known->arguments) : std::vector<bool>(members, true);
}

// The text of an error may say again what was asked for.
std::vector<bool> Redaction::SecretsOfAnswer(const Entry& entry, std::size_t members) {
  const Call* call = calls_.Find({entry.destination, entry.reply_to});
  const Method* known = call != nullptr ? call->known : nullptr;
  if (known == nullptr) return std::vector<bool>(members, true);
  const std::vector<bool> asked = ::SecretsOf(known->arguments);
  const bool secret = std::find(asked.begin(), asked.end(), true) != asked.end();
  calls_.Erase({entry.destination, entry.reply_to});
  if (entry.kind == Kind::kError) return std::vector<bool>(members, secret);
  return entry.signature == known->reply_signature ? ::SecretsOf(known->reply) : std::vector<bool>(members, true);
}

std::string Redaction::Mark(const std::string& text) const {
  if (text.empty()) return "";
  const TextOwner hash(g_compute_hmac_for_data(G_CHECKSUM_SHA256, reinterpret_cast<const guchar*>(key_.data()),
                                               key_.size(), reinterpret_cast<const guchar*>(text.data()), text.size()));
  return "redacted:" + std::to_string(text.size()) + ":" + std::string(hash.get(), kHexDigits);
}

// The value with a mark in place of each text; to be taken.
GVariant* Redaction::Redacted(GVariant* value) const {
  if (g_variant_is_of_type(value, G_VARIANT_TYPE_STRING)) {
    return g_variant_new_string(Mark(g_variant_get_string(value, nullptr)).c_str());
  }
  if (IsRecord(value)) {
    GVariant* one = value;
    const VariantOwner list(g_variant_ref_sink(g_variant_new_array(G_VARIANT_TYPE_BYTESTRING, &one, 1)));
    const ExtraData pair = ExtraDataOf(list.get());
    return RecordOf(Mark(pair.front().first), Mark(pair.front().second));
  }
  if (g_variant_is_of_type(value, G_VARIANT_TYPE_BYTESTRING)) {
    return g_variant_new_from_data(G_VARIANT_TYPE_BYTESTRING, "", 0, TRUE, nullptr, nullptr);
  }
  if (g_variant_is_container(value) == FALSE) return g_variant_ref(value);
  GVariantBuilder builder;
  g_variant_builder_init(&builder, g_variant_get_type(value));
  for (gsize i = 0; i < g_variant_n_children(value); ++i) {
    const VariantOwner child(g_variant_get_child_value(value, i));
    const VariantOwner redacted(g_variant_take_ref(Redacted(child.get())));
    g_variant_builder_add_value(&builder, redacted.get());
  }
  return g_variant_builder_end(&builder);
}
