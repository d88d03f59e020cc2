/*
 * Names and meanings of the numbers of nuv/nuv_launch_codes.h, for logs and for people. Valid C11 and C++17.
 *
 * Everything here is inline and reads one table; nothing of it is exported by the library. The functions may be called
 * by any thread, at any time, also by signal handlers. What they return is never NULL unless said otherwise, and lives
 * as long as the code that calls them is loaded. A number that the table does not have, which the service may send, has
 * no name: the functions say so instead.
 */
#ifndef NUV_LAUNCH_NAMES_H
#define NUV_LAUNCH_NAMES_H

#include <nuv/nuv_export.h>
#include <nuv/nuv_launch_codes.h>
#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/** What a number is. Numbers of different kinds are different, but for those of popups, which are small. */
typedef enum nuv_number_kind_e {
  NUV_NUMBER_EVENT = 0,  /**< nuv_notify_event_e */
  NUV_NUMBER_STATUS = 1, /**< nuv_launch_status_e */
  NUV_NUMBER_RESULT = 2, /**< nuv_launch_result_e */
  NUV_NUMBER_POPUP = 3   /**< LAUNCH_ERROR_POPUP_TYPE */
} nuv_number_kind_e;

/** What a number says about its launch. */
typedef enum nuv_number_sense_e {
  NUV_NUMBER_SUCCESS = 0, /**< it is done */
  NUV_NUMBER_FAILURE = 1, /**< it has failed */
  NUV_NUMBER_REASON = 2   /**< nothing by itself: it goes with an event, or is no part of a launch */
} nuv_number_sense_e;

/** A row of the table. */
typedef struct nuv_number_s {
  int number;               /**< as it travels */
  nuv_number_kind_e kind;   /**< what it is a number of */
  nuv_number_sense_e sense; /**< whether it says that a launch succeeded */
  const char* name; /**< of the constant, such as "NUV_NOTIFY_LAUNCHED"; of a popup its word, such as "unknown-title" */
  const char* text; /**< a meaning in words, such as "the application was started" */
} nuv_number_s;

/* NOLINTBEGIN(modernize-use-nullptr): this is C, too. */

/** The table: its rows up to the one whose name is NULL. */
NUV_INLINE const nuv_number_s* nuv_numbers(void) {
#define NUV_ROW_(kind, sense, symbol, text) \
  { symbol, NUV_NUMBER_##kind, NUV_NUMBER_##sense, #symbol, text }
#define NUV_POPUP_ROW_(symbol, word, text) \
  { symbol, NUV_NUMBER_POPUP, NUV_NUMBER_REASON, word, text }
  static const nuv_number_s numbers[] = {
      NUV_ROW_(EVENT, SUCCESS, NUV_NOTIFY_LAUNCHED, "the application was started"),
      NUV_ROW_(EVENT, SUCCESS, NUV_NOTIFY_BROUGHT_TO_FRONT, "the application ran already and came to the front"),
      NUV_ROW_(EVENT, SUCCESS, NUV_NOTIFY_STARTED_IN_BACKGROUND, "the application runs behind the current one"),
      NUV_ROW_(EVENT, FAILURE, NUV_NOTIFY_LAUNCH_FAILED, "the launch failed"),
      NUV_ROW_(EVENT, SUCCESS, NUV_NOTIFY_PRELOADED, "the application was started without being shown"),
      NUV_ROW_(EVENT, FAILURE, NUV_NOTIFY_PRELOAD_FAILED, "the preload failed"),
      NUV_ROW_(EVENT, SUCCESS, NUV_NOTIFY_DEEPLINK_DELIVERED, "the application got its deep link"),
      NUV_ROW_(EVENT, FAILURE, NUV_NOTIFY_DEEPLINK_FAILED, "the deep link was not delivered"),

      NUV_ROW_(STATUS, REASON, NUV_LAUNCH_STATUS_UNKNOWN_APP, "the catalogue does not know the application"),
      NUV_ROW_(STATUS, REASON, NUV_LAUNCH_STATUS_NOT_INSTALLED, "the application is not installed or not available"),
      NUV_ROW_(STATUS, REASON, NUV_LAUNCH_STATUS_PENDING, "the launch is not decided yet"),
      NUV_ROW_(STATUS, REASON, NUV_LAUNCH_STATUS_REFUSED, "the application is locked and the PIN was not given"),
      NUV_ROW_(STATUS, REASON, NUV_LAUNCH_STATUS_FAILED, "the request could not be carried out"),
      NUV_ROW_(STATUS, REASON, NUV_LAUNCH_STATUS_CANCELLED, "the user cancelled"),
      NUV_ROW_(STATUS, REASON, NUV_LAUNCH_STATUS_CRASHED, "the application ended while it was starting"),
      NUV_ROW_(STATUS, REASON, NUV_LAUNCH_STATUS_TIMED_OUT, "the service did not answer in time"),

      NUV_ROW_(RESULT, SUCCESS, NUV_LAUNCH_RESULT_LAUNCHED, "the application was started"),
      NUV_ROW_(RESULT, SUCCESS, NUV_LAUNCH_RESULT_BROUGHT_TO_FRONT,
               "the application ran already and came to the front"),
      NUV_ROW_(RESULT, SUCCESS, NUV_LAUNCH_RESULT_STARTED_IN_BACKGROUND, "the application runs behind the current one"),
      NUV_ROW_(RESULT, SUCCESS, NUV_LAUNCH_RESULT_PRELOADED, "the application was started without being shown"),
      NUV_ROW_(RESULT, FAILURE, NUV_LAUNCH_RESULT_UNKNOWN_APP, "the catalogue does not know the application"),
      NUV_ROW_(RESULT, FAILURE, NUV_LAUNCH_RESULT_NOT_INSTALLED, "the application is not installed or not available"),
      NUV_ROW_(RESULT, FAILURE, NUV_LAUNCH_RESULT_RESERVED_606, "reserved"),
      NUV_ROW_(RESULT, FAILURE, NUV_LAUNCH_RESULT_RESERVED_607, "reserved"),
      NUV_ROW_(RESULT, FAILURE, NUV_LAUNCH_RESULT_RESERVED_608, "reserved"),
      NUV_ROW_(RESULT, FAILURE, NUV_LAUNCH_RESULT_REFUSED, "the application is locked and the PIN was not given"),
      NUV_ROW_(RESULT, FAILURE, NUV_LAUNCH_RESULT_FAILED, "the application could not be started"),
      NUV_ROW_(RESULT, FAILURE, NUV_LAUNCH_RESULT_CANCELLED, "the user cancelled"),
      NUV_ROW_(RESULT, SUCCESS, NUV_LAUNCH_RESULT_DEEPLINK_DELIVERED, "the application got its deep link"),

      NUV_POPUP_ROW_(LAUNCH_ERROR_POPUP_UNKNOWN_TITLE, "unknown-title", "the run title is not in the catalogue"),
      NUV_POPUP_ROW_(LAUNCH_ERROR_POPUP_TYPE_1, "type-1", "the service's own"),
      NUV_POPUP_ROW_(LAUNCH_ERROR_POPUP_TYPE_2, "type-2", "the service's own"),
      NUV_POPUP_ROW_(LAUNCH_ERROR_POPUP_TYPE_3, "type-3", "the service's own"),
      NUV_POPUP_ROW_(LAUNCH_ERROR_POPUP_NO_APP_ID, "no-app-id", "a launch was asked for without an application id"),

      {0, NUV_NUMBER_EVENT, NUV_NUMBER_REASON, NULL, NULL},
  };
#undef NUV_ROW_
#undef NUV_POPUP_ROW_
  return numbers;
}

/** The row of a number; NULL where the table has none. */
NUV_INLINE const nuv_number_s* nuv_find_number(nuv_number_kind_e kind, int number) {
  const nuv_number_s* row = nuv_numbers();
  while (row->name != NULL && (row->kind != kind || row->number != number)) ++row;
  return row->name != NULL ? row : NULL;
}

/** "NUV_NOTIFY_LAUNCHED" for 900, and so on; "unknown event" for a number without a name. */
NUV_INLINE const char* nuv_notify_event_name(int event) {
  const nuv_number_s* const row = nuv_find_number(NUV_NUMBER_EVENT, event);
  return row != NULL ? row->name : "unknown event";
}

/** Why a launch failed, in words, from the result of a nuv_launch_notify_cb; "no reason was given" for 0. */
NUV_INLINE const char* nuv_launch_status_text(int status) {
  const nuv_number_s* const row = nuv_find_number(NUV_NUMBER_STATUS, status);
  if (row != NULL) return row->text;
  return status == 0 ? "no reason was given" : "unknown status";
}

/** How a launch ended, in words, from the result of a nuv_launch_result_cb. */
NUV_INLINE const char* nuv_launch_result_text(int result) {
  const nuv_number_s* const row = nuv_find_number(NUV_NUMBER_RESULT, result);
  return row != NULL ? row->text : "unknown result";
}

/** The word for a kind of the system error popup, such as "unknown-title". */
NUV_INLINE const char* nuv_popup_name(int kind) {
  const nuv_number_s* const row = nuv_find_number(NUV_NUMBER_POPUP, kind);
  return row != NULL ? row->name : "unknown popup";
}

/* NOLINTEND(modernize-use-nullptr) */

#ifdef __cplusplus
}
#endif

#endif /* NUV_LAUNCH_NAMES_H */
