#include "names_in_c.h"

#include <nuv/nuv_launch_names.h>

const char* EventNameInC(int event) {
  return nuv_notify_event_name(event);
}

const char* StatusTextInC(int status) {
  return nuv_launch_status_text(status);
}

const char* ResultTextInC(int result) {
  return nuv_launch_result_text(result);
}

const char* PopupNameInC(int kind) {
  return nuv_popup_name(kind);
}
