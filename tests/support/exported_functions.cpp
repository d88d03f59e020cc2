#include "exported_functions.h"

#include <nuv/nuv_launcher_api.h>
#include <nuv/nuv_service_api.h>
#include <nuv_platform/platform_aul.h>

#include <algorithm>
#include <fstream>
#include <set>
#include <sstream>
#include <utility>

#include "fake_platform.h"
#include "nuv_inner_db_api/nuv_db_connection.h"
#include "nuv_launcher_api/nuv_running_apps.h"

namespace {

// Longer than the buffer inside a std::string.
const std::string kId = "org.kelvo.application.number.one";
const std::string kAndroidId = "org.kelvo.application.number.two";
const std::string kThirdId = "org.kelvo.application.number.three";
const std::string kKelvoId = "kelvo.application.number.one";
const std::string kRunTitle = "the run title of application one";
const std::string kTitle = "the title of application number one";
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

// No function returns this: it stands for a call that succeeded but handed out something else than it should.
constexpr int kOther = 99;

void OpenForWriting(RecordingService& /*service*/) {
  nuv_db_ro_exchange();
  nuv_db_rw_exchange();
}
void OpenForReading(RecordingService& /*service*/) {
  nuv_db_rw_exchange();
  nuv_db_ro_exchange();
}
void LetServiceRefuseChanges(RecordingService& service) {
  AnswerChangesWith(service, "(-1,)");
}
template <void (*Exchange)()>
int Switch(Arguments&) {
  Exchange();
  const DatabaseTurn turn(innerSide);
  return g_pConnection_Inner != nullptr ? 0 : -1;
}

// The three shapes of a launch.
int Start(int (*launch)(const char*, const char*, nuv_launch_result_cb, void*), const char* key, Arguments& a) {
  return launch(key, a.payload.c_str(), a.on_result, a.user_data);
}
int Start(int (*launch)(const char*, const char*, const char*, nuv_launch_result_cb, void*), const char* key,
          Arguments& a) {
  return launch(key, a.payload.c_str(), kCaller.c_str(), a.on_result, a.user_data);
}
int Start(int (*launch)(const char*, const char*, const char*, nuv_launch_notify_cb, void*), const char* key,
          Arguments& a) {
  return launch(key, a.payload.c_str(), kCaller.c_str(), a.on_notify, a.user_data);
}
template <auto Launch>
int ById(Arguments& a) {
  return Start(Launch, a.id.c_str(), a);
}
template <auto Launch>
int ByTitle(Arguments& a) {
  return Start(Launch, a.run_title.c_str(), a);
}
int StartInternal(const char* id, Arguments& a) {
  return nuv_launch_app_internal(id, a.payload.c_str(), a.on_notify, a.user_data, a.opinion);
}

template <int (*Ask)(char**)>
int Showing(Arguments& a) {
  const int result = Ask(&a.block);
  return result != 0 || (a.block != nullptr && a.block == kId) ? result : kOther;
}

int GetList(Arguments& a, const nuv_app_filter_s& filter, nuv_app_viewmode_e mode, int index, bool ms) {
  return GetAppList(filter, mode, index, 2, ms, &a.number, &a.list, &a.ms_list);
}

constexpr auto kFree = Named::kNone;
constexpr auto kLaunches = Named::kLaunches;
constexpr auto kInner = Named::kInner;

// Asks(): the request takes the same way through the library as another one above it. AsksAnew(): it takes its own.
constexpr Request Asks(const char* method) {
  return {method, false};
}
constexpr Request AsksAnew(const char* method) {
  return {method, true};
}
constexpr Request kNoRequest = {};
constexpr Request kOnlyProbed = AsksAnew("");
constexpr Request kLaunch = Asks("launch_app");
constexpr Request kOwnLaunch = AsksAnew("launch_app");

constexpr Results kPlain = {};
constexpr Results kFails = {-1};
constexpr Results kFailsOrThrows = {-1, -1, -1, true};
constexpr Results kGivesOrThrows = {0, kOther, kOther, true};
// A lookup that fails while the running applications are walked over counts as an application that is unknown, so the
// functions that walk may also succeed with nothing; success ends the walk.
constexpr Results kGives = {0, -1, kOther};
constexpr Results kEndsTheWalk = {-1, -1, 0};
constexpr Results kFindsAGroup = {0, 3, 1, true};  // no list of groups, no application behind one
constexpr Results kYes = {1, -1, 0};               // rows that cannot be read are none, and the answer is no
constexpr Results kPart = {0, -1, 0};              // rows behind one that cannot be read are left out
constexpr Results kSent = {0, -1, 0};              // a command is not waited for
constexpr Results kWrites = {0, -1, -1, false, true};

const std::vector<ExportedCall>& Launches() {
  static const std::vector<ExportedCall> calls = {
      {"nuv_launch_app", "", kLaunches, kLauncherLink, ById<nuv_launch_app>, kOwnLaunch},
      {"nuv_launch_app", "without an id", kLaunches, kLauncherLink,
       [](Arguments& a) { return Start(nuv_launch_app, nullptr, a); }, kNoRequest, kFails},
      {"nuv_launch_app_with_param", "", kLaunches, kLauncherLink, ById<nuv_launch_app_with_param>, kLaunch},
      {"nuv_force_launch_app", "", kLaunches, kLauncherLink, ById<nuv_force_launch_app>, kLaunch},
      {"nuv_force_launch_app_with_param", "", kLaunches, kLauncherLink, ById<nuv_force_launch_app_with_param>, kLaunch},
      {"nuv_launch_webapp", "", kLaunches, kLauncherLink, ById<nuv_launch_webapp>, kLaunch},
      {"nuv_force_launch_webapp", "", kLaunches, kLauncherLink, ById<nuv_force_launch_webapp>, kLaunch},
      {"nuv_background_launch_webapp", "", kLaunches, kLauncherLink, ById<nuv_background_launch_webapp>, kLaunch},
      {"nuv_launch_webapp_for_deeplink", "", kLaunches, kLauncherLink, ById<nuv_launch_webapp_for_deeplink>, kLaunch},
      {"nuv_background_launch_webapp_for_deeplink", "", kLaunches, kLauncherLink,
       ById<nuv_background_launch_webapp_for_deeplink>, kLaunch},
      {"nuv_launch_app_ex", "", kFree, kLauncherLink,
       [](Arguments& a) { return nuv_launch_app_ex(a.request.get(), a.on_notify, a.user_data); }, kOwnLaunch},
      {"nuv_launch_app_ex", "without a request", kFree, kLauncherLink,
       [](Arguments& a) { return nuv_launch_app_ex(nullptr, a.on_notify, a.user_data); }, kNoRequest, kFails},
      {"nuv_launch_app_by_runtitle", "", kLaunches, kLauncherLink | kReadSide, ByTitle<nuv_launch_app_by_runtitle>,
       kOwnLaunch},
      {"nuv_launch_app_by_runtitle_with_param", "", kLaunches, kLauncherLink | kReadSide,
       ByTitle<nuv_launch_app_by_runtitle_with_param>, kLaunch},
      {"nuv_launch_webapp_by_runtitle", "", kLaunches, kLauncherLink | kReadSide,
       ByTitle<nuv_launch_webapp_by_runtitle>, kOwnLaunch},
      {"nuv_launch_webapp_by_runtitle", "that is unknown", kLaunches, kLauncherLink | kReadSide,
       [](Arguments& a) { return Start(nuv_launch_webapp_by_runtitle, kTitle.c_str(), a); }, kNoRequest,
       kFailsOrThrows},
      {"nuv_launch_webapp_for_preload", "", kFree, kLauncherLink | kReadSide, ById<nuv_launch_webapp_for_preload>,
       kOwnLaunch},
      {"nuv_launch_app_internal", "", kFree, kLauncherLink | kReadSide,
       [](Arguments& a) { return StartInternal(a.id.c_str(), a); }, kLaunch},
      {"nuv_launch_app_internal", "without an id", kFree, kNothing,
       [](Arguments& a) { return StartInternal(nullptr, a); }, kNoRequest, kFails},
      {"nuv_launch_app_internal", "of an unknown application", kFree, kReadSide,
       [](Arguments& a) { return StartInternal(kTitle.c_str(), a); }, kNoRequest, kFails},
      {"nuv_launch_Pin_Popup", "", kFree, kLauncherLink,
       [](Arguments& a) { return nuv_launch_Pin_Popup(0, 2, a.launch); }, kOnlyProbed},
      {"nuv_terminate_app", "", kFree, kLauncherLink | kReadSide,
       [](Arguments&) { return nuv_terminate_app(kId.c_str()); }, AsksAnew("terminate_app")},
      {"nuv_terminate_app_with_preload", "", kFree, kLauncherLink | kReadSide,
       [](Arguments&) { return nuv_terminate_app_with_preload(kId.c_str()); }, Asks("terminate_app")},
      {"nuv_terminate_app_by_runtitle", "", kLaunches, kLauncherLink | kReadSide,
       [](Arguments&) { return nuv_terminate_app_by_runtitle(kRunTitle.c_str()); },
       AsksAnew("terminate_app_by_runtitle")},
      {"nuv_terminate_app_internal", "", kFree, kLauncherLink | kReadSide,
       [](Arguments&) { return nuv_terminate_app_internal(kId.c_str(), kCaller, kReason); }, Asks("terminate_app")},
  };
  return calls;
}

const std::vector<ExportedCall>& StatusAndService() {
  static const std::vector<ExportedCall> calls = {
      {"nuv_get_app_status", "", kInner, kInnerSide,
       [](Arguments& a) { return nuv_get_app_status(kId.c_str(), &a.number); }},
      {"nuv_get_app_status", "of an Android application", kInner, kInnerSide | kLauncherLink,
       [](Arguments& a) { return nuv_get_app_status(kAndroidId.c_str(), &a.number); },
       AsksAnew("get_android_app_status")},
      {"nuv_get_current_showing_app", "", kInner, kInnerSide, Showing<nuv_get_current_showing_app>, kNoRequest, kGives},
      {"nuv_get_current_showing_app_client", "", kInner, kInnerSide, Showing<nuv_get_current_showing_app_client>,
       kNoRequest, kGives},
      {"nuv_get_showing_appid", "", kInner, kInnerSide,
       [](Arguments& a) {
         a.text = nuv_get_showing_appid();
         return a.text == kId ? 0 : kOther;
       },
       kNoRequest, kGivesOrThrows},
      {"nuv_get_running_appIter_func", "", kInner, kInnerSide,
       [](Arguments& a) { return nuv_get_running_appIter_func(&kVisible, a.buffer.data()); }, kNoRequest, kEndsTheWalk},
      {"nuv_get_android_app_status_internal", "", kFree, kLauncherLink,
       [](Arguments& a) { return nuv_get_android_app_status_internal(kAndroidId.c_str(), a.number); },
       Asks("get_android_app_status")},
      {"nuv_get_android_app_status_client", "", kFree, kLauncherLink,
       [](Arguments& a) { return nuv_get_android_app_status_client(kAndroidId.c_str(), a.number); },
       Asks("get_android_app_status")},
      {"nuv_send_appexec_kpi", "", kFree, kLauncherLink | kReadSide,
       [](Arguments&) { return nuv_send_appexec_kpi(1, kId.c_str(), kCaller.c_str(), 2, kReason.c_str()); },
       AsksAnew("send_appexec_kpi")},
      {"nuv_send_appexec_kpi_client", "", kFree, kLauncherLink,
       [](Arguments&) { return nuv_send_appexec_kpi_client(1, kId.c_str(), kCaller.c_str(), 2, kReason.c_str()); },
       Asks("send_appexec_kpi")},
      {"nuv_terminate_app_client", "", kFree, kLauncherLink | kReadSide,
       [](Arguments&) { return nuv_terminate_app_client(kId.c_str(), 1, kCaller, kReason); }, Asks("terminate_app")},
      {"nuv_terminate_app_by_runtitle_client", "", kLaunches, kLauncherLink | kReadSide,
       [](Arguments&) { return nuv_terminate_app_by_runtitle_client(kRunTitle.c_str()); },
       Asks("terminate_app_by_runtitle")},
      {"nuv_launch_systempopup_client", "", kFree, kLauncherLink,
       [](Arguments&) { return nuv_launch_systempopup_client(LAUNCH_ERROR_POPUP_TYPE_1); },
       AsksAnew("launch_systempopup")},
      {"nuv_terminate_allApps_internal", "", kFree, kLauncherLink,
       [](Arguments&) { return nuv_terminate_allApps_internal(kCaller, kReason); }, Asks("terminate_allapp")},
      {"nuv_get_extra_app", "", kFree, kLauncherLink, [](Arguments& a) { return nuv_get_extra_app(a.text); },
       AsksAnew("get_extra_app")},
      {"nuv_notify_extra_app_changed", "", kFree, kLauncherLink,
       [](Arguments& a) { return nuv_notify_extra_app_changed(std::move(a.taken)); },
       AsksAnew("notify_extra_app_changed")},
      {"nuv_set_launch_fail", "", kFree, kNothing,
       [](Arguments& a) { return nuv_set_launch_fail(std::move(a.taken)); }},
      {"nuv_dbus_update_app_count", "", kFree, kInnerLink, [](Arguments&) { return nuv_dbus_update_app_count(kId); },
       AsksAnew("nuv_update_app_count")},
      {"nuv_dbus_update_app_version", "", kFree, kInnerLink,
       [](Arguments&) { return nuv_dbus_update_app_version(kId, kVersion); }, Asks("nuv_update_app_version")},
      {"nuv_dbus_update_app_by_key", "", kFree, kInnerLink,
       [](Arguments&) { return nuv_dbus_update_app_by_key(kId, APPSINFO_UPDATE_IS_UPDATED); },
       Asks("nuv_update_app_by_key")},
      {"nuv_dbus_nuv_command", "", kFree, kInnerLink,
       [](Arguments&) { return nuv_dbus_nuv_command(1, kId, kReason, kPayload); }, AsksAnew("nuv_command"), kSent},
  };
  return calls;
}

const std::vector<ExportedCall>& ReadSide() {
  static const std::vector<ExportedCall> calls = {
      {"m_nuv_get_app_info", "", kFree, kReadSide,
       [](Arguments& a) { return m_nuv_get_app_info(a.id.c_str(), &a.info); }},
      {"nuv_get_app_info_by_runtitle", "", kLaunches, kReadSide,
       [](Arguments& a) { return nuv_get_app_info_by_runtitle(a.run_title.c_str(), &a.info); }},
      {"GetAppInfoByRuntitle", "", kFree, kReadSide,
       [](Arguments& a) { return GetAppInfoByRuntitle(&a.info, a.run_title.c_str()); }},
      {"GetAppInnerInfo", "", kLaunches, kReadSide,
       [](Arguments& a) { return GetAppInnerInfo(std::move(a.taken), &a.inner); }},
      {"GetAppIDFromAppGroupList", "", kFree, kReadSide,
       [](Arguments& a) {
         GetAppIDFromAppGroupList(kGroup, a.text, a.number);
         return a.number;
       },
       kNoRequest, kFindsAGroup},
      {"ParseStringToList", "", kFree, kNothing,
       [](Arguments& a) {
         auto& [text, between_pairs, within_a_pair] = a.pairs_text;
         ParseStringToList(std::move(text), std::move(between_pairs), std::move(within_a_pair), a.pairs);
         return a.pairs.size() == 2 ? 0 : kOther;
       },
       kNoRequest, kGivesOrThrows},
      {"nuv_check_app_is_locked", "", kLaunches, kReadSide,
       [](Arguments& a) { return nuv_check_app_is_locked(a.quoted_id.c_str()); }},
      {"nuv_check_app_is_need_uninstall", "", kLaunches, kReadSide,
       [](Arguments& a) { return nuv_check_app_is_need_uninstall(a.quoted_id.c_str()); }},
      {"CheckIsRecentlyOrMostUsedApp", "", kFree, kReadSide,
       [](Arguments& a) { return CheckIsRecentlyOrMostUsedApp(kId, kRecentSql, a.binds); }},
      {"GetAppsTableCount", "", kFree, kReadSide,
       [](Arguments& a) {
         const int result = GetAppsTableCount(&a.number, kClause, 0, a.binds);
         return result != 0 || a.number == 3 ? result : kOther;
       },
       kNoRequest, kGives},
      {"GetAppList", "of full records", kFree, kReadSide,
       [](Arguments& a) { return GetList(a, kAnyApp, NUV_APP_VIEWMODE_INDEX, 0, false); }},
      {"GetAppList", "of multi-screen records", kFree, kReadSide,
       [](Arguments& a) { return GetList(a, kAnyApp, NUV_APP_VIEWMODE_TITLE_ASC, 0, true); }},
      {"GetAppList", "of a type by last download", kFree, kReadSide,
       [](Arguments& a) { return GetList(a, kTypedApp, NUV_APP_VIEWMODE_LAST_DOWNLOAD, -1, false); }},
      {"nuv_get_key_list", "", kLaunches, kReadSide,
       [](Arguments& a) { return nuv_get_key_list(kKey, 0, &a.list, &a.number); }},
      {"nuv_get_isp_bound_widget_list", "", kLaunches, kReadSide,
       [](Arguments& a) { return nuv_get_isp_bound_widget_list(&a.list, &a.number); }},
      {"nuv_get_hybrid_widget_list", "", kLaunches, kReadSide,
       [](Arguments& a) { return nuv_get_hybrid_widget_list(&a.list, &a.number); }},
      {"GetNUVAppList", "", kLaunches, kReadSide,
       [](Arguments& a) { return GetNUVAppList(kAllCategories, kByIndex, true, a.inner_vector); }, kNoRequest, kPart},
      {"GetStrAppType", "", kFree, kNothing, [](Arguments& a) { return GetStrAppType(127, a.text, a.binds); }},
  };
  return calls;
}

const std::vector<ExportedCall>& InnerSide() {
  static const std::vector<ExportedCall> calls = {
      {"nuv_inner_db_init", "", kInner, kInnerSide, [](Arguments&) { return nuv_inner_db_init(); }},
      {"nuv_db_rw_exchange", "", kFree, kInnerSide, Switch<nuv_db_rw_exchange>, kNoRequest, kPlain, OpenForReading},
      {"nuv_db_ro_exchange", "", kFree, kInnerSide, Switch<nuv_db_ro_exchange>, kNoRequest, kPlain, OpenForWriting},
      {"nuv_inner_get_app_info_by_id", "", kInner, kInnerSide,
       [](Arguments& a) { return nuv_inner_get_app_info_by_id(kId, a.record, true); }},
      {"nuv_inner_get_app_info_by_kelvoid", "", kInner, kInnerSide,
       [](Arguments& a) { return nuv_inner_get_app_info_by_kelvoid(kKelvoId, a.record, true); }},
      {"nuv_inner_get_app_info_by_runtitle", "", kFree, kInnerSide,
       [](Arguments& a) { return nuv_inner_get_app_info_by_runtitle(kRunTitle, a.record, true); }},
      {"nuv_inner_get_appid_by_title", "", kInner, kInnerSide,
       [](Arguments& a) { return nuv_inner_get_appid_by_title(kTitle, a.text); }},
      {"nuv_inner_get_appid_by_kelvoid_or_nativeid", "", kInner, kInnerSide,
       [](Arguments& a) { return nuv_inner_get_appid_by_kelvoid_or_nativeid(kKelvoId, a.text); }},
      {"nuv_inner_check_most_used_app", "", kInner, kInnerSide,
       [](Arguments&) { return nuv_inner_check_most_used_app(kId); }, kNoRequest, kYes},
      {"nuv_inner_check_recently_used_app", "", kInner, kInnerSide,
       [](Arguments&) { return nuv_inner_check_recently_used_app(kId); }, kNoRequest, kYes},
      {"nuv_inner_get_all_app_list", "", kInner, kInnerSide,
       [](Arguments& a) { return nuv_inner_get_all_app_list(&a.inner_list, &a.number); }},
      {"nuv_db_update_app_by_key", "", kFree, kInnerSide,
       [](Arguments&) { return nuv_db_update_app_by_key(kId, APPSINFO_UPDATE_IS_UPDATED); }, kNoRequest, kWrites,
       OpenForWriting},
      {"nuv_db_update_app_by_key_value", "", kInner, kInnerSide,
       [](Arguments&) { return nuv_db_update_app_by_key_value(kId, APPSINFO_UPDATE_AIT_IDS, kReason); }, kNoRequest,
       kWrites, OpenForWriting},
      {"nuv_db_update_app_count", "", kFree, kInnerSide, [](Arguments&) { return nuv_db_update_app_count(kThirdId); },
       kNoRequest, kWrites, OpenForWriting},
      {"nuv_inner_update_app_by_key", "that the service makes", kInner, kInnerSide | kInnerLink,
       [](Arguments&) { return nuv_inner_update_app_by_key(kId, APPSINFO_UPDATE_IS_UPDATED); },
       Asks("nuv_update_app_by_key")},
      {"nuv_inner_update_app_by_key", "that is made locally", kInner, kInnerSide | kInnerLink,
       [](Arguments&) { return nuv_inner_update_app_by_key(kId, APPSINFO_UPDATE_IS_UPDATED); },
       Asks("nuv_update_app_by_key"), kPlain, LetServiceRefuseChanges},
      {"nuv_inner_update_app_count", "that the service makes", kInner, kInnerSide | kInnerLink,
       [](Arguments&) { return nuv_inner_update_app_count(kThirdId); }, AsksAnew("nuv_update_app_count")},
      {"nuv_inner_update_app_count", "that is made locally", kInner, kInnerSide | kInnerLink,
       [](Arguments&) { return nuv_inner_update_app_count(kThirdId); }, Asks("nuv_update_app_count"), kPlain,
       LetServiceRefuseChanges},
      {"nuv_inner_update_app_by_key_value", "", kInner, kInnerSide,
       [](Arguments&) { return nuv_inner_update_app_by_key_value(kId, APPSINFO_UPDATE_VERSION, kVersion); }, kNoRequest,
       kWrites},
      {"nuv_inner_update_app_version", "", kFree, kInnerLink,
       [](Arguments&) { return nuv_inner_update_app_version(kId, kVersion); }, Asks("nuv_update_app_version")},
      {"nuv_inner_nuv_command", "", kFree, kInnerLink,
       [](Arguments&) { return nuv_inner_nuv_command(1, kId, kReason, kPayload); }, Asks("nuv_command"), kSent},
      {"nuv_inner_check_app_installing", "", kFree, kNothing,
       [](Arguments&) { return nuv_inner_check_app_installing(kId); }, kNoRequest, kFails},
  };
  return calls;
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

template <typename Wanted>
std::vector<ExportedCall> FirstOfEach(Wanted wanted) {
  std::set<std::string> functions;
  std::vector<ExportedCall> calls;
  for (const ExportedCall& call : ExportedCalls()) {
    if (wanted(call) && functions.insert(call.function).second) calls.push_back(call);
  }
  return calls;
}

std::multiset<std::string> ListedFunctions() {
  std::multiset<std::string> listed;
  std::ifstream exports(NUV_SOURCE_DIR "/src/libnuv_launcher_api.exports");
  for (std::string line; std::getline(exports, line);) {
    std::istringstream words(line);
    std::string language;
    std::string name;
    if (words >> language >> name && language[0] != '#') listed.insert(name.substr(0, name.find_first_of("([")));
  }
  return listed;
}

}  // namespace

Arguments::Arguments()
    : id(kId),
      quoted_id("'" + kId + "'"),
      run_title(kRunTitle),
      payload(kPayload),
      taken(kId),
      pairs_text{"the first of the keys:the first of the values,the second of the keys:the second of the values", ",",
                 ":"},
      request(fake_platform::MakeAppControl({kId,
                                             "the operation of the request",
                                             "the-uri:of.the.request",
                                             {{"PayLoad", kPayload},
                                              {"CallerId", kCaller},
                                              {"Operation", "BackgroundAndDeeplink"},
                                              {"the key of some extra datum", kReason}}})),
      binds{{2, "", 3}, {2, "", 1}} {
  opinion.callerId = kCaller;
  launch.appId = kId;
  launch.payload = kPayload;
  launch.callerId = kCaller;
  launch.extraDatas = {{"the key of some extra datum", kReason}, {"another key of an extra datum", kPayload}};
}

Arguments::~Arguments() {
  free(block);
  free(list);
  free(ms_list);
  delete[] inner_list;
}

std::string Arguments::HandedOut() const {
  std::ostringstream shown;
  shown << number << '|' << text << '|' << buffer.data() << '|' << (block == nullptr ? "null" : block) << '|'
        << Shown(info) << Shown(inner) << Shown(record);
  const int count = std::max(number, 0);
  for (int i = 0; list != nullptr && i < count; ++i) shown << Shown(list[i]);
  for (int i = 0; ms_list != nullptr && i < count; ++i) shown << ms_list[i].app_id << ms_list[i].is_multi_screen2;
  for (int i = 0; inner_list != nullptr && i < count; ++i) shown << Shown(inner_list[i]);
  for (const auto& app : inner_vector) shown << Shown(app);
  for (const auto& bind : binds) shown << bind.text << bind.value << '|';
  for (const auto& [key, value] : pairs) shown << key << '=' << value << '|';
  return shown.str();
}

void AddApplications(AppDatabase& database) {
  database.Add(kId, {{"kelvo_id", kKelvoId},
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
                     {"is_hybrid_tv", 1}});
  database.Add(kAndroidId, {{"app_type", 8}, {"app_index", 5}, {"title", "another long title of an application"}});
  database.Add(kThirdId, {{"app_type", 2}, {"app_index", 301}});
  database.AddConfig("RESERVED_27", kGroup + ":" + kId + ",another group of applications:" + kThirdId);
  fake_platform::SetRunningApps({{"some.background.application", 4}, {kKelvoId, NUV_AUL_STATUS_VISIBLE}});
}

void AnswerCalls(RecordingService& service) {
  service.AnswerTo("get_android_app_status", {RecordingService::Answer::kReply, "(7,)"});
  service.AnswerTo("get_extra_app", {RecordingService::Answer::kReply, "('org.kelvo.extra.application.in.front',)"});
  AnswerChangesWith(service, "(0,)");
}

void AnswerChangesWith(RecordingService& service, const std::string& reply) {
  for (const char* method : {"nuv_update_app_count", "nuv_update_app_version", "nuv_update_app_by_key"}) {
    service.AnswerTo(method, {RecordingService::Answer::kReply, reply});
  }
}

std::string NameOf(const ExportedCall& call) {
  return std::string(call.function) + (*call.what == '\0' ? "" : " ") + call.what;
}

int Call(const ExportedCall& call) {
  Arguments arguments;
  return call.call(arguments);
}

const std::vector<ExportedCall>& ExportedCalls() {
  static const std::vector<ExportedCall> calls = [] {
    std::vector<ExportedCall> all;
    for (const auto* part : {&Launches(), &StatusAndService(), &ReadSide(), &InnerSide()}) {
      all.insert(all.end(), part->begin(), part->end());
    }
    return all;
  }();
  return calls;
}

const std::vector<ExportedCall>& PlainCalls() {
  static const std::vector<ExportedCall> calls = FirstOfEach([](const ExportedCall&) { return true; });
  return calls;
}

const ExportedCall& CallOf(const std::string& function) {
  return *std::find_if(ExportedCalls().begin(), ExportedCalls().end(),
                       [&](const ExportedCall& call) { return call.function == function; });
}

std::vector<ExportedCall> AskingCalls(bool launches) {
  return FirstOfEach([=](const ExportedCall& call) { return call.AsksService() && call.IsLaunch() == launches; });
}

std::vector<std::string> TableMistakes() {
  std::multiset<std::string> in_table;
  for (const ExportedCall& call : PlainCalls()) in_table.insert(call.function);
  const std::multiset<std::string> listed = ListedFunctions();
  std::vector<std::string> mistakes;
  std::set_symmetric_difference(listed.begin(), listed.end(), in_table.begin(), in_table.end(),
                                std::back_inserter(mistakes));
  std::set<std::string> names;
  for (const ExportedCall& call : ExportedCalls()) {
    if (!names.insert(NameOf(call)).second) mistakes.push_back(NameOf(call));
  }
  return mistakes;
}
