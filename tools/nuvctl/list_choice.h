// Which applications a list holds, and in which order.
#pragma once

#include <nuv/nuv_app_types.h>

struct ListChoice {
  int featured = NUV_APP_FILTER_ANY;
  int type = NUV_APP_FILTER_ANY;
  int view = NUV_APP_VIEWMODE_INDEX;
  int index = -1;  // from the first on
  int count = 0;   // all
  bool multi_screen = false;
  bool hybrid = false;
  bool isp_bound = false;
  bool service = false;
  bool with_hidden = false;
};
