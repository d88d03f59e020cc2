// What "nuvctl doctor" says, row by row.
#pragma once

#include <gmock/gmock.h>

#include <string>

#include "nuvctl_run.h"

struct DoctorRow {
  std::string state;
  std::string text;
  std::string mend;  // empty where there is none
};

class DoctorRows {
 public:
  explicit DoctorRows(const NuvctlRun& run) : json_(run.Json()["checks"]) {}

  const nlohmann::json& json() const { return json_; }

  DoctorRow operator[](const std::string& name) const {
    for (const auto& row : json_) {
      if (row["name"] == name) return {row["state"], row["text"], row["mend"].is_null() ? "" : row["mend"]};
    }
    ADD_FAILURE() << "no check " << name;
    return {};
  }

 private:
  const nlohmann::json json_;
};

inline void ExpectRow(const DoctorRow& row, const std::string& state, const testing::Matcher<std::string>& text,
                      const testing::Matcher<std::string>& mend) {
  EXPECT_EQ(row.state, state) << row.text;
  EXPECT_THAT(row.text, text);
  EXPECT_THAT(row.mend, mend);
}
