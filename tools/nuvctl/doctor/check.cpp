#include "doctor/check.h"

#include <pwd.h>

#include <algorithm>
#include <exception>
#include <iterator>

#include "glib_handles.h"
#include "report/text.h"

namespace {

constexpr char kPlainCharacters[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_./:=@%+,-";
constexpr size_t kNamed = 5;

}  // namespace

const char* WordOf(Health health) {
  constexpr const char* kWords[] = {"ok", "warn", "fail"};
  return kWords[static_cast<int>(health)];
}

Finding Fine(const std::string& text) {
  return {Health::kOk, text, ""};
}

Finding Warning(const std::string& text, const std::string& mend) {
  return {Health::kWarn, text, mend};
}

Finding Failure(const std::string& text, const std::string& mend) {
  return {Health::kFail, text, mend};
}

Finding NotKnown(const std::string& why, const std::string& mend) {
  return {Health::kWarn, "not known: " + why, mend};
}

std::vector<Check> AllChecks() {
  std::vector<Check> all;
  for (const auto& part :
       {BusChecks(), ServiceChecks(), DirectoryChecks(), DatabaseChecks(), AppChecks(), LogChecks()}) {
    all.insert(all.end(), part.begin(), part.end());
  }
  return all;
}

std::string Some(const std::vector<std::string>& texts) {
  const size_t named = std::min(kNamed, texts.size());
  const size_t rest = texts.size() - named;
  const std::vector<std::string> first(texts.begin(), std::next(texts.begin(), static_cast<std::ptrdiff_t>(named)));
  return Joined(first) + (rest != 0 ? " and " + std::to_string(rest) + " more" : "");
}

Finding Carry(const Check& check, Examination& examination) {
  try {
    return check.look(examination);
  } catch (const std::exception& error) {
    return Failure("the check could not be made: " + Printable(error.what()), "nuvctl -v doctor");
  }
}

std::string ShellWord(const std::string& text) {
  if (!text.empty() && text.find_first_not_of(kPlainCharacters) == std::string::npos) return text;
  return Printable(TextOwner(g_shell_quote(text.c_str())).get());
}

std::string UserInWords(unsigned user) {
  const passwd* entry = getpwuid(user);
  const std::string number = "the user " + std::to_string(user);
  return entry == nullptr ? number : number + " (" + Printable(entry->pw_name) + ")";
}
