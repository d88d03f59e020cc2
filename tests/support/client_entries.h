// The functions that look one application up, each with what its calls log.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "catalogue_log.h"
#include "exported_functions.h"
#include "record_line.h"

struct Entry {
  const char* name;
  std::vector<int (*)()> null_records;              // calls with a null record, which have the key "key"
  std::vector<int (*)()> null_keys;                 // calls with a null key
  std::vector<const char*> keys;                    // columns that are compared with the key
  std::string start;                                // "@" stands for the key in all lines
  std::string (*reset_colour)(const std::string&);  // of the notice of a reset
  std::string null_line;                            // of a null argument
  std::string empty_line;                           // of an empty key
  std::vector<std::string> middle;  // info lines between the arguments' check and the end of the query's start
  std::string statement;
  LogLines (*row)(const Arguments& found, const std::string& id);
  const char* query_end;
  std::string end;  // "#" stands for the result
};

inline void PrintTo(const Entry& entry, std::ostream* stream) {
  *stream << entry.name;
}

inline LogLines InfoRow(const Arguments& found, const std::string&) {
  return {"I set app_info success", "I " + RecordLine(found.info)};
}

inline LogLines InnerRow(const Arguments&, const std::string&) {
  return {"I set app_info success"};
}

inline LogLines ValueRow(const Arguments&, const std::string& id) {
  return {"I strValue =" + id};
}

// A check of a list of ids for the state of one column.
inline Entry CheckEntry(const char* name, const std::string& column, int (*null_key)()) {
  const std::string clause =
      " where id in(@) and install_state = ? and " + column + " = ? and is_need_reset = ? and is_app_available = ? ";
  return {name,
          {},
          {null_key},
          {"id"},
          "Start, app_id:[@] ",
          Yellow,
          "E " + Red("in param is NULL "),
          "E " + Red("app_id is empty "),
          {"param:" + clause, "Start : strkey:[id],strParam:[" + clause + "],tableType:[0] "},
          "  select id  from widgetinfo" + clause,
          ValueRow,
          "Get DB finish:strValue:[%]",
          "finish,app_id:[@],result:[#]"};
}

inline std::vector<Entry> ClientEntries() {
  const std::string full_row = AppDatabase::FullRowSelect();
  const std::string null_in_red = "E " + Red("in param is NULL ");
  return {
      {"m_nuv_get_app_info",
       {[] { return m_nuv_get_app_info("key", nullptr); }},
       {[] {
          Arguments found;
          return m_nuv_get_app_info(nullptr, &found.info);
        },
        [] { return m_nuv_get_app_info(nullptr, nullptr); }},
       {"id", "kelvo_id", "pkgname"},
       Green("Start, app_id:[@]"),
       Yellow,
       null_in_red,
       "E " + Red("app_id is empty "),
       {"Start:strParam: where (id = ?  or kelvo_id = ? or pkgname = ?)  and install_state = ? and is_app_available = "
        "? and is_need_reset = ?  "},
       full_row + " where (id = ?  or kelvo_id = ? or pkgname = ?)  and install_state = ? and is_app_available = ? and "
                  "is_need_reset = ? ",
       InfoRow,
       "Get DB finish",
       Green("Finish app_id:[@],ret[#]")},
      {"nuv_get_app_info_by_runtitle",
       {[] { return nuv_get_app_info_by_runtitle("key", nullptr); }},
       {[] {
          Arguments found;
          return nuv_get_app_info_by_runtitle(nullptr, &found.info);
        },
        [] { return nuv_get_app_info_by_runtitle(nullptr, nullptr); }},
       {"run_title"},
       Green("Start, runtitile:[@]"),
       Yellow,
       null_in_red,
       "E " + Red("runtitile is empty "),
       {"Start:strParam: where run_title = ?  and install_state = ? and is_app_available = ? and is_need_reset = ?  "},
       full_row + " where run_title = ?  and install_state = ? and is_app_available = ? and is_need_reset = ? ",
       InfoRow,
       "Get DB finish",
       Green("Finish runtitile:[@]")},
      {"GetAppInfoByRuntitle",
       {[] { return GetAppInfoByRuntitle(nullptr, "key"); }},
       {[] {
          Arguments found;
          return GetAppInfoByRuntitle(&found.info, nullptr);
        },
        [] { return GetAppInfoByRuntitle(nullptr, nullptr); }},
       {"run_title"},
       Green("Start"),
       Green,
       null_in_red,
       "E " + Red("runtitile is empty "),
       {Green("runtitile:[@]"),
        "Start:strParam: where run_title = ? and install_state = ? and is_app_available = ? and is_need_reset = ?  "},
       full_row + " where run_title = ? and install_state = ? and is_app_available = ? and is_need_reset = ? ",
       InfoRow,
       "Get DB finish",
       Green("Get app info by run_title:[@] finish, ret [#]")},
      {"GetAppInnerInfo",
       {[] { return GetAppInnerInfo("key", nullptr); }},
       {},
       {"id", "kelvo_id", "pkgname", "hybrid_app"},
       Green("Start, app_id:[@]"),
       Yellow,
       null_in_red,
       "E " + Red("strAppID is empty "),
       {"Start:strParam: where (id = ?  or kelvo_id = ? or pkgname = ? or hybrid_app = ?)  and install_state = ? and "
        "is_app_available = ? and is_need_reset = ?  "},
       full_row + " where (id = ?  or kelvo_id = ? or pkgname = ? or hybrid_app = ?)  and install_state = ? and "
                  "is_app_available = ? and is_need_reset = ? ",
       InnerRow,
       "Get DB finish",
       Green("Finish app_id:[@],ret[#]")},
      CheckEntry("nuv_check_app_is_locked", "is_lock", [] { return nuv_check_app_is_locked(nullptr); }),
      CheckEntry("nuv_check_app_is_need_uninstall", "reserved_tinyint_1",
                 [] { return nuv_check_app_is_need_uninstall(nullptr); })};
}
