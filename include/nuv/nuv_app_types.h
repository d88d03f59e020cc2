/*
 * Records of the application catalogue and the arguments of its lists. Valid C11 and C++17.
 *
 * The layout of the records is fixed. A text member holds at most 127 bytes of the catalogue's text, cut anywhere (in
 * the middle of a UTF-8 character, too). The library never writes the last byte of a text member: it is zero where the
 * record was cleared beforehand, as the arrays that the library allocates are. A text of the catalogue ends at its
 * first zero byte.
 */
#ifndef NUV_APP_TYPES_H
#define NUV_APP_TYPES_H

#ifdef __cplusplus
extern "C" {
#endif

enum { NUV_APP_TEXT_SIZE = 128 };

/** One installed application. */
typedef struct nuv_app_info_s {
  char app_id[NUV_APP_TEXT_SIZE];
  char app_title[NUV_APP_TEXT_SIZE];
  char app_installed_path[NUV_APP_TEXT_SIZE];
  char app_icon_path[NUV_APP_TEXT_SIZE];
  char app_panel_icon_path[NUV_APP_TEXT_SIZE]; /**< the same path as app_icon_path */
  char app_version[NUV_APP_TEXT_SIZE];
  char install_date[NUV_APP_TEXT_SIZE];
  char app_kelvo_id[NUV_APP_TEXT_SIZE]; /**< what the platform calls the application */
  char pkgname[NUV_APP_TEXT_SIZE];
  char widget_category[NUV_APP_TEXT_SIZE];
  char app_runtitle[NUV_APP_TEXT_SIZE]; /**< the name under which it is started */
  char install_type[NUV_APP_TEXT_SIZE];
  char reserved_str_a[NUV_APP_TEXT_SIZE];         /**< never written */
  char reserved_str_b[NUV_APP_TEXT_SIZE];         /**< never written */
  char extra_icon_path[NUV_APP_TEXT_SIZE];        /**< the same path as app_icon_path */
  char gamepad[NUV_APP_TEXT_SIZE];                /**< column reserved_string_1 */
  char firstscreen_icon_dir[NUV_APP_TEXT_SIZE];   /**< the same path as app_icon_path */
  char ambient_screen_support[NUV_APP_TEXT_SIZE]; /**< column reserved_string_4 */
  char ambient_icon_path[NUV_APP_TEXT_SIZE];      /**< the same path as app_icon_path */
  char hbbTV[NUV_APP_TEXT_SIZE];
  char hybrid_app[NUV_APP_TEXT_SIZE];
  char reserved_string_2[NUV_APP_TEXT_SIZE];
  char reserved_string_6[NUV_APP_TEXT_SIZE];
  char reserved_string_9[NUV_APP_TEXT_SIZE];
  int size;
  int use_count;
  int app_index;
  int app_featured;
  int app_type;
  int install_state;
  int is_hidden;
  int is_support_voice;
  int is_support_gesture;
  int is_network;
  int is_removable;
  int is_display;
  int reserved_int_a; /**< never written */
  int is_lock;
  int reserved_int_b; /**< never written */
  int is_premium_game;
  int is_need_login;
  int is_need_update;
  int installed_source_type;
  int is_updated;
  int is_ticker;
  int is_multi_screen2;
  int is_multi_tasking;
  int is_usb_app;
  int is_age_auth;
  int app_age_limit; /**< years */
  int use_gamepad;
  int reserved_tinyint_1;
  int is_icon_mutlilang_support; /**< column reserved_tinyint_8 */
  int reserved_tinyint_2;
  int reserved_tinyint_3;
  int reserved_tinyint_4;
  int reserved_tinyint_5;
  int reserved_tinyint_7;
  int launch_type; /**< column reserved_int_1 */
} nuv_app_info_s;

/** One installed application and whether it takes part in a multi-screen. */
typedef struct nuv_app_ms_s {
  char app_id[NUV_APP_TEXT_SIZE];
  int is_multi_screen2;
} nuv_app_ms_s;

/** A filter member with this value lets everything through. */
enum { NUV_APP_FILTER_ANY = 65535 };

/** Which applications a list holds. */
typedef struct nuv_app_filter_s {
  int featured;     /**< set of the categories 1, 2, 4 and 8, of which at least one; 3 means 1, 2 and 8 */
  int premium_game; /**< filters nothing */
  int type;         /**< set of the types 2 and 4; other bits below 128 count for nothing, anything else is refused */
} nuv_app_filter_s;

/** Order of a list. Any other number orders by index. */
typedef enum nuv_app_viewmode_e {
  NUV_APP_VIEWMODE_MOST_USED = 0,     /**< most launches first */
  NUV_APP_VIEWMODE_INDEX = 1,         /**< rising app_index */
  NUV_APP_VIEWMODE_LAST_DOWNLOAD = 2, /**< rising app_index, but the applications of index 300 and above that come
                                           last are moved to the front, the last one first; multi-screen records: latest
                                           install date first */
  NUV_APP_VIEWMODE_TITLE_ASC = 3,     /**< title, A to Z in either case */
  NUV_APP_VIEWMODE_TITLE_DESC = 4,    /**< title, Z to A in either case */
  NUV_APP_VIEWMODE_RANGE_MIN_ = -0x7fffffff - 1, /**< not an order: every 32-bit value is representable */
  NUV_APP_VIEWMODE_RANGE_MAX_ = 0x7fffffff       /**< not an order: every 32-bit value is representable */
} nuv_app_viewmode_e;

#ifdef __cplusplus
}
#endif

#endif /* NUV_APP_TYPES_H */
