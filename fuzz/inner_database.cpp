// Databases of any shape and content through every lookup, list and change of the inner side.
#include <nuv/nuv_inner_database.h>

#include <memory>

#include "nuv_inner_db_api/nuv_db_connection.h"
#include "support/bus.h"
#include "support/damaged_database.h"
#include "support/must.h"

namespace {

bool IsResult(int result) {
  return result == 0 || result == -1 || result == -2;
}

void LookUp(fuzz::Input& input) {
  const std::string key = fuzz::AnyKey(input);
  const bool installed_only = input.Flag();
  _APPSINFO_T info;
  for (const auto find :
       {nuv_inner_get_app_info_by_id, nuv_inner_get_app_info_by_kelvoid, nuv_inner_get_app_info_by_runtitle}) {
    MUST(IsResult(find(key, info, installed_only)));
  }
  std::string app_id;
  for (const auto find : {nuv_inner_get_appid_by_title, nuv_inner_get_appid_by_kelvoid_or_nativeid}) {
    MUST(IsResult(find(key, app_id)));
  }
  for (const auto check : {nuv_inner_check_most_used_app, nuv_inner_check_recently_used_app}) {
    const int result = check(key);
    MUST(result == 1 || IsResult(result));
  }
}

void List() {
  _APPSINFO_T* list = nullptr;
  int count = 12345;
  const int result = nuv_inner_get_all_app_list(&list, &count);
  const std::unique_ptr<_APPSINFO_T[]> owned(list);
  MUST(IsResult(result));
  MUST(result == 0 ? (count > 0) == (list != nullptr) : count == 0 && list == nullptr);
}

void Change(fuzz::Input& input) {
  const std::string key = fuzz::AnyKey(input);
  const std::string value = input.Bytes(200);
  const auto field = static_cast<APPSINFO_UPDATE_KEY_e>(input.Number(-1, 9));
  switch (input.Number(0, 6)) {
    case 0:
      MUST(IsResult(nuv_db_update_app_by_key(key, APPSINFO_UPDATE_IS_UPDATED)));
      break;
    case 1:
      MUST(IsResult(nuv_db_update_app_by_key_value(key, field, value)));
      break;
    case 2:
      MUST(IsResult(nuv_db_update_app_count(key)));
      break;
    case 3:
      MUST(IsResult(nuv_inner_update_app_by_key(key, field)));
      break;
    case 4:
      MUST(IsResult(nuv_inner_update_app_by_key_value(key, field, value)));
      break;
    case 5:
      MUST(IsResult(nuv_inner_update_app_count(key)));
      break;
    default:
      input.Flag() ? nuv_db_rw_exchange() : nuv_db_ro_exchange();
  }
}

void CheckNothingIsLeft() {
  MUST(g_pStmt_Inner == nullptr);
  if (g_pConnection_Inner == nullptr) return;
  MUST(sqlite3_next_stmt(g_pConnection_Inner, nullptr) == nullptr);
  MUST(sqlite3_close(g_pConnection_Inner) == SQLITE_OK);
  g_pConnection_Inner = nullptr;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input input(data, size);
  const fuzz::DamagedDatabase database(input);
  // No service is there: each change is made here.
  fuzz::AnswerCalls([](const fuzz::Call&, GError** error) -> GVariant* {
    *error = fuzz::RemoteError("nobody is there");
    return nullptr;
  });
  g_db_type = input.Flag() ? kReadOnly : kReadWrite;
  if (input.Flag()) MUST(IsResult(nuv_inner_db_init()));
  LookUp(input);
  List();
  const int changes = input.Number(0, 4);
  for (int i = 0; i < changes; ++i) Change(input);
  LookUp(input);
  List();
  CheckNothingIsLeft();
  return 0;
}
