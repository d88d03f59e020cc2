// What a check of "nuvctl doctor" is, and what it finds.
#pragma once

#include <string>
#include <vector>

class Examination;

enum class Health { kOk, kWarn, kFail };

// "ok", "warn", "fail"
const char* WordOf(Health health);

struct Finding {
  Health health;
  std::string text;
  std::string mend;  // the command, file or variable that mends it; empty where nothing is to be mended
};

Finding Fine(const std::string& text);
Finding Warning(const std::string& text, const std::string& mend);
Finding Failure(const std::string& text, const std::string& mend);
// What cannot be known is not said to be well.
Finding NotKnown(const std::string& why, const std::string& mend = "");

struct Check {
  const char* name;  // for programs, too
  Finding (*look)(Examination& examination);
};

// A source each; all of them, in the order in which they are made.
std::vector<Check> BusChecks();
std::vector<Check> ServiceChecks();
std::vector<Check> DirectoryChecks();
std::vector<Check> DatabaseChecks();
std::vector<Check> AppChecks();
std::vector<Check> LogChecks();
std::vector<Check> AllChecks();

// A check that cannot be made is a failed one.
Finding Carry(const Check& check, Examination& examination);

// "a, b, c, d, e and 2 more"
std::string Some(const std::vector<std::string>& texts);

// The text as a word of a shell's command, made printable.
std::string ShellWord(const std::string& text);

// "the user 1000 (alice)"
std::string UserInWords(unsigned user);
