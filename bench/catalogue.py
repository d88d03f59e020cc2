"""Makes application databases for the benchmarks: the service's tables, with rows as a catalogue has them."""
import contextlib
import random
import sqlite3

TEXTS = """id title run_title kelvo_id pkgname version install_path resources_path icon_path pannel_icon_path
 firstscreen_icon_path icon_updated_date install_date launch_date install_type pkg_type widget_category hybrid_app hbbTV
 ait_appid ait_orgid chanel_name cp_name duid nuvorder reserved_string_1 reserved_string_2 reserved_string_3
 reserved_string_4 reserved_string_5 reserved_string_6 reserved_string_8 reserved_string_9 reserved_string_10
 reserved_string_11 reserved_string_14 reserved_string_15 reserved_string_16 reserved_string_18 reserved_string_19
 reserved_string_20""".split()
NUMBERS = """app_index app_featured app_type size use_count install_state install_source_type is_app_available
 is_need_reset is_hidden is_lock is_display is_removable is_system is_network is_support_voice is_support_gesture
 is_premium_game is_need_login is_need_update is_updated is_auto_update is_ticker is_multi_screen2 is_multi_tasking
 is_ispbound is_hybrid_tv is_age_auth is_usb_app limit_age use_gamepad reserved_int_1 reserved_tinyint_1
 reserved_tinyint_2 reserved_tinyint_3 reserved_tinyint_4 reserved_tinyint_5 reserved_tinyint_7 reserved_tinyint_8
 reserved_tinyint_10 reserved_tinyint_11 reserved_tinyint_13 reserved_tinyint_14""".split()
INDEXED = ("kelvo_id", "pkgname", "run_title")
# Those of nuv-simulator's database for lists, which a TV's may not have.
LISTED = "install_state, is_app_available, is_hidden, is_need_reset"
LIST_INDEXES = {"count": "id", "index": "app_index", "used": "use_count DESC", "title": "upper(title)",
                "date": "install_date DESC"}
TITLES = ("Weather at a Glance", "Evening News", "Films & Series", "Radio Stations of the World", "Chess",
          "The Long Way Home", "Photo Frame", "Kitchen Timer and Recipes", "Yoga for Everyone", "Sports Live")
CATEGORIES = ("video", "game", "sports", "information", "lifestyle", "education", "kids")


def texts_of(number, title):
    """Every text column has a text, of the length that such texts have."""
    name = f"org.example.tv.app{number:06}"
    path = f"/opt/usr/apps/{name}"
    date = f"2025-{number % 12 + 1:02}-{number % 28 + 1:02} {number % 24:02}:{number % 60:02}:00"
    texts = {column: f"{column.rpartition('_')[2]};value={number % 97}" for column in TEXTS}
    texts.update(
        id=name, title=title, run_title=f"{title} {number}", kelvo_id=f"111{number:012}", pkgname=f"{name}.pkg",
        version=f"{number % 7}.{number % 10}.{number % 100}", install_path=path, resources_path=f"{path}/res/wgt",
        icon_path=f"{path}/shared/res/icons/{name}_512x512.png", pannel_icon_path=f"{path}/shared/res/panel.png",
        firstscreen_icon_path=f"{path}/shared/res/firstscreen.png", icon_updated_date=date, install_date=date,
        launch_date=date, install_type="downloaded", pkg_type="wgt", widget_category=CATEGORIES[number % 7],
        hybrid_app=f"hybrid.{number:06}", hbbTV="0", duid=f"DUID{number:08}", nuvorder=str(number))
    return [texts[column] for column in TEXTS]


def numbers_of(number, index):
    """Every application is installed, available and visible."""
    numbers = {column: (number + place) % 2 for place, column in enumerate(NUMBERS)}
    numbers.update(
        app_index=index, app_featured=1 << number % 4, app_type=2 + number % 2 * 2, size=1000 + number * 37,
        use_count=number * 7919 % 1000, install_state=3, install_source_type=1, is_app_available=1, is_need_reset=0,
        is_hidden=0, limit_age=number % 19, reserved_int_1=number % 3)
    return [numbers[column] for column in NUMBERS]


def make_catalogue(path, rows, list_indexes=False):
    """A database of that many applications, whose order of the index is not the one in which they were installed."""
    indices = list(range(rows))
    random.Random(rows).shuffle(indices)
    columns = [f"{column} TEXT DEFAULT ''" for column in TEXTS] + [f"{column} INTEGER DEFAULT 0" for column in NUMBERS]
    columns[0] = "id TEXT PRIMARY KEY NOT NULL"
    with contextlib.closing(sqlite3.connect(path)) as database, database:
        database.execute("PRAGMA synchronous = OFF")
        database.execute(f"CREATE TABLE widgetinfo ({', '.join(columns)})")
        for column in INDEXED:
            database.execute(f"CREATE INDEX widgetinfo_{column} ON widgetinfo ({column})")
        for name, order in LIST_INDEXES.items() if list_indexes else ():
            database.execute(f"CREATE INDEX widgetinfo_list_{name} ON widgetinfo ({LISTED}, {order})")
        marks = ",".join("?" * len(columns))
        database.executemany(f"INSERT INTO widgetinfo VALUES ({marks})",
                             (texts_of(number, TITLES[number % len(TITLES)]) + numbers_of(number, indices[number])
                              for number in range(rows)))
