#include "exported_calls.h"

#include <nuv/nuv_launcher_api.h>
#include <nuv/nuv_service_api.h>
#include <nuv_platform/platform_aul.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <new>
#include <regex>
#include <sstream>
#include <utility>

#include "fake_platform.h"
#include "nuv_db_api/nuv_db_statement.h"
#include "nuv_inner_db_api/nuv_db_connection.h"
#include "nuv_launcher_api/nuv_running_apps.h"
#include "undisturbed.h"

namespace {

// Longer than what a string keeps in itself.
const std::string kId = "org.kelvo.application.number.one";
const std::string kAndroidId = "org.kelvo.application.number.two";
const std::string kThirdId = "org.kelvo.application.number.three";
const std::string kKelvoId = "kelvo.application.number.one";
const std::string kRunTitle = "the run title of application one";
const std::string kTitle = "the title of application number one";
const std::string kQuoted = "'org.kelvo.application.number.one'";
const std::string kGroup = "a group of applications";
const std::string kPayload = "a payload that is longer than a short text&callerid=inside.the.payload&end";
const std::string kCaller = "org.kelvo.some.calling.component";
const std::string kReason = "a reason that is longer than a short text";
const std::string kVersion = "1.2.3-with-a-long-version-suffix";
const std::string kClause = " where install_state = ? and is_app_available = ?";
const std::string kRecentSql = "select id from widgetinfo where install_state = ? order by launch_date desc limit 3";
const std::string kKey = "is_ispbound                         ";
const std::string kAllCategories = "15";
const std::string kByIndex = "1";

constexpr nuv_app_filter_s kAnyApp = {NUV_APP_FILTER_ANY, 0, NUV_APP_FILTER_ANY};
constexpr nuv_app_filter_s kTypedApp = {NUV_APP_FILTER_ANY, 2, NUV_APP_FILTER_ANY};
constexpr aul_app_info kVisible = {1, NUV_AUL_STATUS_VISIBLE, "kelvo.application.number.one"};

void OpenForWriting(World& /*world*/) {
  nuv_db_ro_exchange();
  nuv_db_rw_exchange();
}
void OpenForReading(World& /*world*/) {
  nuv_inner_db_init();
  nuv_db_ro_exchange();
}
void LetServiceRefuseChanges(World& world) {
  world.AnswerChangesWith("(-1,)");
}
int InnerIsOpen() {
  return g_pConnection_Inner != nullptr ? 0 : -1;
}

// The list that GetAppList() makes.
int GetList(World& w, const nuv_app_filter_s& filter, nuv_app_viewmode_e mode, int index, bool ms) {
  return GetAppList(filter, mode, index, 2, ms, &w.number, &w.list, &w.ms_list);
}

constexpr auto kOnNotify = World::OnNotify;
// The callback that a launch is given is of one shape, and is called in the other when the call of the service fails.
const auto kOnResult = reinterpret_cast<nuv_launch_result_cb>(reinterpret_cast<void (*)()>(World::OnNotify));

const std::vector<ExportedCall>& Launches() {
  static const std::vector<ExportedCall> calls = {
      {"nuv_launch_app", "", kLauncherLink,
       [](World& w) { return nuv_launch_app(kId.c_str(), kPayload.c_str(), kOnResult, &w); }},
      {"nuv_launch_app", "without an id", kLauncherLink,
       [](World& w) { return nuv_launch_app(nullptr, kPayload.c_str(), World::OnResult, &w); }},
      {"nuv_launch_app_with_param", "", kLauncherLink,
       [](World& w) {
         return nuv_launch_app_with_param(kId.c_str(), kPayload.c_str(), kCaller.c_str(), kOnResult, &w);
       }},
      {"nuv_force_launch_app", "", kLauncherLink,
       [](World& w) { return nuv_force_launch_app(kId.c_str(), kPayload.c_str(), kOnResult, &w); }},
      {"nuv_force_launch_app_with_param", "", kLauncherLink,
       [](World& w) {
         return nuv_force_launch_app_with_param(kId.c_str(), kPayload.c_str(), kCaller.c_str(), kOnResult, &w);
       }},
      {"nuv_launch_webapp", "", kLauncherLink,
       [](World& w) { return nuv_launch_webapp(kId.c_str(), kPayload.c_str(), kCaller.c_str(), kOnNotify, &w); }},
      {"nuv_force_launch_webapp", "", kLauncherLink,
       [](World& w) { return nuv_force_launch_webapp(kId.c_str(), kPayload.c_str(), kCaller.c_str(), kOnNotify, &w); }},
      {"nuv_background_launch_webapp", "", kLauncherLink,
       [](World& w) {
         return nuv_background_launch_webapp(kId.c_str(), kPayload.c_str(), kCaller.c_str(), kOnNotify, &w);
       }},
      {"nuv_launch_webapp_for_deeplink", "", kLauncherLink,
       [](World& w) {
         return nuv_launch_webapp_for_deeplink(kId.c_str(), kPayload.c_str(), kCaller.c_str(), kOnNotify, &w);
       }},
      {"nuv_background_launch_webapp_for_deeplink", "", kLauncherLink,
       [](World& w) {
         return nuv_background_launch_webapp_for_deeplink(kId.c_str(), kPayload.c_str(), kCaller.c_str(), kOnNotify,
                                                          &w);
       }},
      {"nuv_launch_app_ex", "", kLauncherLink,
       [](World& w) { return nuv_launch_app_ex(w.request.get(), kOnNotify, &w); }},
      {"nuv_launch_app_ex", "without a request", kLauncherLink,
       [](World& w) { return nuv_launch_app_ex(nullptr, kOnNotify, &w); }},
      {"nuv_launch_app_by_runtitle", "", kLauncherLink | kReadSide,
       [](World& w) { return nuv_launch_app_by_runtitle(kRunTitle.c_str(), kPayload.c_str(), kOnResult, &w); }},
      {"nuv_launch_app_by_runtitle_with_param", "", kLauncherLink | kReadSide,
       [](World& w) {
         return nuv_launch_app_by_runtitle_with_param(kRunTitle.c_str(), kPayload.c_str(), kCaller.c_str(), kOnResult,
                                                      &w);
       }},
      {"nuv_launch_webapp_by_runtitle", "", kLauncherLink | kReadSide,
       [](World& w) {
         return nuv_launch_webapp_by_runtitle(kRunTitle.c_str(), kPayload.c_str(), kCaller.c_str(), kOnNotify, &w);
       }},
      {"nuv_launch_webapp_by_runtitle", "that is unknown", kLauncherLink | kReadSide,
       [](World& w) {
         return nuv_launch_webapp_by_runtitle(kTitle.c_str(), kPayload.c_str(), kCaller.c_str(), kOnNotify, &w);
       }},
      {"nuv_launch_webapp_for_preload", "", kLauncherLink | kReadSide,
       [](World& w) {
         return nuv_launch_webapp_for_preload(kId.c_str(), kPayload.c_str(), kCaller.c_str(), kOnNotify, &w);
       }},
      {"nuv_launch_app_internal", "", kLauncherLink | kReadSide,
       [](World& w) { return nuv_launch_app_internal(kId.c_str(), kPayload.c_str(), kOnNotify, &w, w.opinion); }},
      {"nuv_launch_app_internal", "without an id", kNothing,
       [](World& w) { return nuv_launch_app_internal(nullptr, kPayload.c_str(), kOnNotify, &w, w.opinion); }},
      {"nuv_launch_app_internal", "of an unknown application", kReadSide,
       [](World& w) { return nuv_launch_app_internal(kTitle.c_str(), kPayload.c_str(), kOnNotify, &w, w.opinion); }},
      {"nuv_launch_Pin_Popup", "", kLauncherLink, [](World& w) { return nuv_launch_Pin_Popup(0, 2, w.launch); }},
      {"nuv_terminate_app", "", kLauncherLink | kReadSide, [](World&) { return nuv_terminate_app(kId.c_str()); }},
      {"nuv_terminate_app_with_preload", "", kLauncherLink | kReadSide,
       [](World&) { return nuv_terminate_app_with_preload(kId.c_str()); }},
      {"nuv_terminate_app_by_runtitle", "", kLauncherLink | kReadSide,
       [](World&) { return nuv_terminate_app_by_runtitle(kRunTitle.c_str()); }},
      {"nuv_terminate_app_internal", "", kLauncherLink | kReadSide,
       [](World&) { return nuv_terminate_app_internal(kId.c_str(), kCaller, kReason); }},
  };
  return calls;
}

const std::vector<ExportedCall>& StatusAndService() {
  // A lookup that fails while the running applications are walked over counts as an application that is unknown, so the
  // functions that walk may also succeed with nothing: their other "failure" is 0.
  static const std::vector<ExportedCall> calls = {
      {"nuv_get_app_status", "", kInnerSide, [](World& w) { return nuv_get_app_status(kId.c_str(), &w.number); }},
      {"nuv_get_app_status", "of an Android application", kInnerSide | kLauncherLink,
       [](World& w) { return nuv_get_app_status(kAndroidId.c_str(), &w.number); }},
      {"nuv_get_current_showing_app", "", kInnerSide, [](World& w) { return nuv_get_current_showing_app(&w.block); },
       -1, 0},
      {"nuv_get_current_showing_app_client", "", kInnerSide,
       [](World& w) { return nuv_get_current_showing_app_client(&w.block); }, -1, 0},
      {"nuv_get_showing_appid", "", kInnerSide,
       [](World& w) {
         w.text = nuv_get_showing_appid();
         return 0;
       },
       0, 0, true},
      {"nuv_get_running_appIter_func", "", kInnerSide,
       [](World& w) { return nuv_get_running_appIter_func(&kVisible, w.buffer.data()); }, -1, 0},
      {"nuv_get_android_app_status_internal", "", kLauncherLink,
       [](World& w) { return nuv_get_android_app_status_internal(kAndroidId.c_str(), w.number); }},
      {"nuv_get_android_app_status_client", "", kLauncherLink,
       [](World& w) { return nuv_get_android_app_status_client(kAndroidId.c_str(), w.number); }},
      {"nuv_send_appexec_kpi", "", kLauncherLink | kReadSide,
       [](World&) { return nuv_send_appexec_kpi(1, kId.c_str(), kCaller.c_str(), 2, kReason.c_str()); }},
      {"nuv_send_appexec_kpi_client", "", kLauncherLink,
       [](World&) { return nuv_send_appexec_kpi_client(1, kId.c_str(), kCaller.c_str(), 2, kReason.c_str()); }},
      {"nuv_terminate_app_client", "", kLauncherLink | kReadSide,
       [](World&) { return nuv_terminate_app_client(kId.c_str(), 1, kCaller, kReason); }},
      {"nuv_terminate_app_by_runtitle_client", "", kLauncherLink | kReadSide,
       [](World&) { return nuv_terminate_app_by_runtitle_client(kRunTitle.c_str()); }},
      {"nuv_launch_systempopup_client", "", kLauncherLink,
       [](World&) { return nuv_launch_systempopup_client(LAUNCH_ERROR_POPUP_TYPE_1); }},
      {"nuv_terminate_allApps_internal", "", kLauncherLink,
       [](World&) { return nuv_terminate_allApps_internal(kCaller, kReason); }},
      {"nuv_get_extra_app", "", kLauncherLink, [](World& w) { return nuv_get_extra_app(w.text); }},
      {"nuv_notify_extra_app_changed", "", kLauncherLink,
       [](World& w) { return nuv_notify_extra_app_changed(std::move(w.taken[0])); }},
      {"nuv_set_launch_fail", "", kNothing, [](World& w) { return nuv_set_launch_fail(std::move(w.taken[0])); }},
      {"nuv_dbus_update_app_count", "", kInnerLink, [](World&) { return nuv_dbus_update_app_count(kId); }},
      {"nuv_dbus_update_app_version", "", kInnerLink,
       [](World&) { return nuv_dbus_update_app_version(kId, kVersion); }},
      {"nuv_dbus_update_app_by_key", "", kInnerLink,
       [](World&) { return nuv_dbus_update_app_by_key(kId, APPSINFO_UPDATE_IS_UPDATED); }},
      {"nuv_dbus_nuv_command", "", kInnerLink, [](World&) { return nuv_dbus_nuv_command(1, kId, kReason, kPayload); },
       -1, 0},
  };
  return calls;
}

const std::vector<ExportedCall>& ReadSide() {
  static const std::vector<ExportedCall> calls = {
      {"m_nuv_get_app_info", "", kReadSide, [](World& w) { return m_nuv_get_app_info(kId.c_str(), &w.info); }},
      {"nuv_get_app_info_by_runtitle", "", kReadSide,
       [](World& w) { return nuv_get_app_info_by_runtitle(kRunTitle.c_str(), &w.info); }},
      {"GetAppInfoByRuntitle", "", kReadSide,
       [](World& w) { return GetAppInfoByRuntitle(&w.info, kRunTitle.c_str()); }},
      {"GetAppInnerInfo", "", kReadSide, [](World& w) { return GetAppInnerInfo(std::move(w.taken[0]), &w.inner); }},
      // Without a list of groups, or the application behind one, it says so: 3 and 1.
      {"GetAppIDFromAppGroupList", "", kReadSide,
       [](World& w) {
         GetAppIDFromAppGroupList(kGroup, w.text, w.number);
         return w.number;
       },
       3, 1, true},
      {"ParseStringToList", "", kNothing,
       [](World& w) {
         ParseStringToList(std::move(w.taken[0]), std::move(w.taken[1]), std::move(w.taken[2]), w.pairs);
         return 0;
       },
       0, 0, true,
       [](World& w) {
         w.taken = {"the first of the keys:the first of the values,the second of the keys:the second of the values",
                    ",", ":"};
       }},
      {"nuv_check_app_is_locked", "", kReadSide, [](World&) { return nuv_check_app_is_locked(kQuoted.c_str()); }},
      {"nuv_check_app_is_need_uninstall", "", kReadSide,
       [](World&) { return nuv_check_app_is_need_uninstall(kQuoted.c_str()); }},
      {"CheckIsRecentlyOrMostUsedApp", "", kReadSide,
       [](World& w) { return CheckIsRecentlyOrMostUsedApp(kId, kRecentSql, w.binds); }},
      {"GetAppsTableCount", "", kReadSide, [](World& w) { return GetAppsTableCount(&w.number, kClause, 0, w.binds); }},
      {"GetAppList", "of full records", kReadSide,
       [](World& w) { return GetList(w, kAnyApp, NUV_APP_VIEWMODE_INDEX, 0, false); }},
      {"GetAppList", "of multi-screen records", kReadSide,
       [](World& w) { return GetList(w, kAnyApp, NUV_APP_VIEWMODE_TITLE_ASC, 0, true); }},
      {"GetAppList", "of a type by last download", kReadSide,
       [](World& w) { return GetList(w, kTypedApp, NUV_APP_VIEWMODE_LAST_DOWNLOAD, -1, false); }},
      {"nuv_get_key_list", "", kReadSide, [](World& w) { return nuv_get_key_list(kKey, 0, &w.list, &w.number); }},
      {"nuv_get_isp_bound_widget_list", "", kReadSide,
       [](World& w) { return nuv_get_isp_bound_widget_list(&w.list, &w.number); }},
      {"nuv_get_hybrid_widget_list", "", kReadSide,
       [](World& w) { return nuv_get_hybrid_widget_list(&w.list, &w.number); }},
      // Rows behind one that cannot be read are left out, and it is a success.
      {"GetNUVAppList", "", kReadSide,
       [](World& w) { return GetNUVAppList(kAllCategories, kByIndex, true, w.inner_vector); }, -1, 0},
      {"GetStrAppType", "", kNothing, [](World& w) { return GetStrAppType(127, w.text, w.binds); }},
  };
  return calls;
}

const std::vector<ExportedCall>& InnerSide() {
  static const std::vector<ExportedCall> calls = {
      {"nuv_inner_db_init", "", kInnerSide, [](World&) { return nuv_inner_db_init(); }},
      {"nuv_db_rw_exchange", "", kInnerSide,
       [](World&) {
         nuv_db_rw_exchange();
         return InnerIsOpen();
       },
       -1, -1, false, OpenForReading},
      {"nuv_db_ro_exchange", "", kInnerSide,
       [](World&) {
         nuv_db_ro_exchange();
         return InnerIsOpen();
       },
       -1, -1, false, OpenForWriting},
      {"nuv_inner_get_app_info_by_id", "", kInnerSide,
       [](World& w) { return nuv_inner_get_app_info_by_id(kId, w.record, true); }},
      {"nuv_inner_get_app_info_by_kelvoid", "", kInnerSide,
       [](World& w) { return nuv_inner_get_app_info_by_kelvoid(kKelvoId, w.record, true); }},
      {"nuv_inner_get_app_info_by_runtitle", "", kInnerSide,
       [](World& w) { return nuv_inner_get_app_info_by_runtitle(kRunTitle, w.record, true); }},
      {"nuv_inner_get_appid_by_title", "", kInnerSide,
       [](World& w) { return nuv_inner_get_appid_by_title(kTitle, w.text); }},
      {"nuv_inner_get_appid_by_kelvoid_or_nativeid", "", kInnerSide,
       [](World& w) { return nuv_inner_get_appid_by_kelvoid_or_nativeid(kKelvoId, w.text); }},
      // Rows that cannot be read are none, and the answer is no.
      {"nuv_inner_check_most_used_app", "", kInnerSide, [](World&) { return nuv_inner_check_most_used_app(kId); }, -1,
       0},
      {"nuv_inner_check_recently_used_app", "", kInnerSide,
       [](World&) { return nuv_inner_check_recently_used_app(kId); }, -1, 0},
      {"nuv_inner_get_all_app_list", "", kInnerSide,
       [](World& w) { return nuv_inner_get_all_app_list(&w.inner_list, &w.number); }},
      {"nuv_db_update_app_by_key", "", kInnerSide,
       [](World&) { return nuv_db_update_app_by_key(kId, APPSINFO_UPDATE_IS_UPDATED); }, -1, -1, false, OpenForWriting},
      {"nuv_db_update_app_by_key_value", "", kInnerSide,
       [](World&) { return nuv_db_update_app_by_key_value(kId, APPSINFO_UPDATE_AIT_IDS, kReason); }, -1, -1, false,
       OpenForWriting},
      {"nuv_db_update_app_count", "", kInnerSide, [](World&) { return nuv_db_update_app_count(kThirdId); }, -1, -1,
       false, OpenForWriting},
      {"nuv_inner_update_app_by_key", "that the service makes", kInnerSide | kInnerLink,
       [](World&) { return nuv_inner_update_app_by_key(kId, APPSINFO_UPDATE_IS_UPDATED); }},
      {"nuv_inner_update_app_by_key", "that is made locally", kInnerSide | kInnerLink,
       [](World&) { return nuv_inner_update_app_by_key(kId, APPSINFO_UPDATE_IS_UPDATED); }, -1, -1, false,
       LetServiceRefuseChanges},
      {"nuv_inner_update_app_count", "that the service makes", kInnerSide | kInnerLink,
       [](World&) { return nuv_inner_update_app_count(kThirdId); }},
      {"nuv_inner_update_app_count", "that is made locally", kInnerSide | kInnerLink,
       [](World&) { return nuv_inner_update_app_count(kThirdId); }, -1, -1, false, LetServiceRefuseChanges},
      {"nuv_inner_update_app_by_key_value", "", kInnerSide,
       [](World&) { return nuv_inner_update_app_by_key_value(kId, APPSINFO_UPDATE_VERSION, kVersion); }},
      {"nuv_inner_update_app_version", "", kInnerLink,
       [](World&) { return nuv_inner_update_app_version(kId, kVersion); }},
      {"nuv_inner_nuv_command", "", kInnerLink, [](World&) { return nuv_inner_nuv_command(1, kId, kReason, kPayload); },
       -1, 0},
      {"nuv_inner_check_app_installing", "", kNothing, [](World&) { return nuv_inner_check_app_installing(kId); }},
  };
  return calls;
}

// Without the memory that a text or a list had before, so that the next call has to ask for it.
template <typename Value>
void MakeAnew(Value& value) {
  value.~Value();
  new (&value) Value();
}

std::string Joined(std::initializer_list<std::string> parts) {
  std::string whole;
  for (const std::string& part : parts) whole += part + "|";
  return whole;
}

std::string Shown(const nuv_app_info_s& info) {
  return std::string(reinterpret_cast<const char*>(&info), sizeof info);
}
std::string Shown(const _APPS_INNER_INFO_T& info) {
  return Joined({info.id, info.title, info.install_path, info.icon_path, info.version, info.kelvo_id, info.run_title,
                 info.reserved_string_19, info.reserved_string_20, std::to_string(info.app_type),
                 std::to_string(info.is_lock)});
}
std::string Shown(const _APPSINFO_T& record) {
  return Joined({record.id, record.title, record.install_path, record.icon_path, record.version, record.kelvo_id,
                 record.run_title, record.hybrid_app, record.reserved_string_16, std::to_string(record.app_type),
                 std::to_string(record.is_lock)});
}

}  // namespace

World::World() {
  current = this;
  const AppDatabase::Row full = {{"kelvo_id", kKelvoId},
                                 {"run_title", kRunTitle},
                                 {"title", kTitle},
                                 {"install_path", "/opt/usr/apps/org.kelvo.application.number.one"},
                                 {"icon_path", "/opt/usr/apps/org.kelvo.application.number.one/icon.png"},
                                 {"launch_date", "2026-11-21 12:00:00 and some more"},
                                 {"app_type", 2},
                                 {"use_count", 1000000},
                                 {"is_lock", 1},
                                 {"reserved_tinyint_1", 0},
                                 {"is_ispbound", 1},
                                 {"is_hybrid_tv", 1}};
  // A version that is no text in the database: SQLite makes one when it is asked for it.
  database.Run("pragma writable_schema = on");
  database.Run("update sqlite_master set sql = replace(sql, ',version text', ',version integer')");
  database.Close();
  database.Add(kId, full);
  database.Add(kAndroidId, {{"app_type", 8}, {"app_index", 5}, {"title", "another long title of an application"}});
  database.Add(kThirdId, {{"app_type", 2}, {"app_index", 301}});
  database.Run("update widgetinfo set version = 4711");
  database.AddConfig("RESERVED_27", kGroup + ":" + kId + ",another group of applications:" + kThirdId);
  fake_platform::SetDatabaseDirectory(database.directory());
  fake_platform::SetRunningApps({{"some.background.application", 4}, {kKelvoId, NUV_AUL_STATUS_VISIBLE}});
  StartService();
  Renew();
}

void World::StartService() {
  service_ = std::make_unique<RecordingService>(bus.address());
  service_->AnswerTo("get_android_app_status", {RecordingService::Answer::kReply, "(7,)"});
  service_->AnswerTo("get_extra_app", {RecordingService::Answer::kReply, "('org.kelvo.extra.application.in.front',)"});
}

void World::LoseBus() {
  service_.reset();
  bus.Restart();
  StartService();
}

void World::AnswerChangesWith(const std::string& reply) {
  for (const char* method : {"nuv_update_app_count", "nuv_update_app_version", "nuv_update_app_by_key"}) {
    service_->AnswerTo(method, {RecordingService::Answer::kReply, reply});
  }
}

void World::OnNotify(const char*, nuv_notify_event_e, int, int, void*) {
  ++current->failures_told;
}

void World::OnResult(void*, int, const char*, int) {
  ++current->failures_told;
}

void World::GiveBack() {
  free(std::exchange(block, nullptr));
  free(std::exchange(list, nullptr));
  free(std::exchange(ms_list, nullptr));
  delete[] std::exchange(inner_list, nullptr);
}

void World::Renew() {
  GiveBack();
  failures_told = 0;
  info = {};
  MakeAnew(inner);
  MakeAnew(record);
  number = 0;
  MakeAnew(text);
  buffer = {};
  MakeAnew(inner_vector);
  MakeAnew(binds);
  binds = {{2, "", 3}, {2, "", 1}};
  pairs = {};
  taken[0] = kId;
  opinion = {};
  opinion.callerId = kCaller;
  launch = {};
  launch.appId = kId;
  launch.payload = kPayload;
  launch.callerId = kCaller;
  launch.extraDatas = {{"the key of some extra datum", kReason}, {"another key of an extra datum", kPayload}};
  request = fake_platform::MakeAppControl({kId,
                                           "the operation of the request",
                                           "the-uri:of.the.request",
                                           {{"PayLoad", kPayload},
                                            {"CallerId", kCaller},
                                            {"Operation", "BackgroundAndDeeplink"},
                                            {"the key of some extra datum", kReason}}});
  AnswerChangesWith("(0,)");
  service_->Forget();
}

std::string World::HandedOut() const {
  std::ostringstream shown;
  shown << failures_told << '|' << number << '|' << text << '|' << buffer.data() << '|'
        << (block == nullptr ? "null" : block) << '|' << Shown(info) << Shown(inner) << Shown(record);
  const int count = std::max(number, 0);
  for (int i = 0; list != nullptr && i < count; ++i) shown << Shown(list[i]);
  for (int i = 0; ms_list != nullptr && i < count; ++i) shown << ms_list[i].app_id << ms_list[i].is_multi_screen2;
  for (int i = 0; inner_list != nullptr && i < count; ++i) shown << Shown(inner_list[i]);
  for (const auto& app : inner_vector) shown << Shown(app);
  for (const auto& bind : binds) shown << bind.text << bind.value << '|';
  for (const auto& [key, value] : pairs) shown << key << '=' << value << '|';
  return shown.str();
}

std::string NameOf(const ExportedCall& call) {
  return std::string(call.function) + (*call.what == '\0' ? "" : " ") + call.what;
}

// Whether it is one of those that are serialised with each other. Without an id it asks for no memory of ours.
bool IsSerialisedLaunch(const ExportedCall& call) {
  if (call.what == std::string("without an id")) return false;
  return std::regex_match(call.function,
                          std::regex("nuv_(force_|background_)?launch_(web)?app(_with_param|_for_deeplink|_by_.*)?"));
}

const std::vector<ExportedCall>& ExportedCalls() {
  static const std::vector<ExportedCall> calls = [] {
    std::vector<ExportedCall> all;
    for (const auto* part : {&Launches(), &StatusAndService(), &ReadSide(), &InnerSide()}) {
      all.insert(all.end(), part->begin(), part->end());
    }
    for (ExportedCall& call : all) call.throws = call.throws || IsSerialisedLaunch(call);
    return all;
  }();
  return calls;
}

std::vector<std::string> FunctionsWithoutCall() {
  std::vector<std::string> missing;
  std::ifstream exports(NUV_SOURCE_DIR "/src/libnuv_launcher_api.exports");
  for (std::string line; std::getline(exports, line);) {
    std::istringstream words(line);
    std::string linkage;
    std::string function;
    if (!(words >> linkage >> function) || linkage[0] == '#') continue;
    function.erase(std::min(function.find_first_of("(["), function.size()));
    const auto has = [&](const ExportedCall& call) { return call.function == function; };
    if (std::none_of(ExportedCalls().begin(), ExportedCalls().end(), has)) missing.push_back(function);
  }
  return missing;
}
