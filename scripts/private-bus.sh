# To be sourced: a message bus of one's own, which stands in for the system bus, and programs in the background.
# The sourcing script sets "work", a directory of its own, and calls stop_all when it ends.
started=()

stop_all() {
  local pid
  for pid in "${started[@]}"; do kill "$pid" 2>/dev/null || true; done
  for pid in "${started[@]}"; do wait "$pid" 2>/dev/null || true; done
  started=()
}

# start_and_wait NAME COMMAND...: in the background, until it has printed its first line to $work/NAME.out.
start_and_wait() {
  local name=$1 tries
  shift
  rm -f "$work/$name.out"    # of an earlier one
  "$@" >"$work/$name.out" 2>"$work/$name.err" </dev/null &
  started+=($!)
  for ((tries = 0; tries < 400; ++tries)); do
    [ -s "$work/$name.out" ] && return
    kill -0 "${started[-1]}" 2>/dev/null || break
    sleep 0.05
  done
  echo "$name did not start: $(cat "$work/$name.err")" >&2
  return 1
}

start_private_bus() {
  cat >"$work/bus.conf" <<END
<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig><type>system</type><listen>unix:path=$work/bus</listen><auth>EXTERNAL</auth>
<policy context="default"><allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/>
<allow own="*"/><allow user="*"/></policy></busconfig>
END
  export DBUS_SYSTEM_BUS_ADDRESS=unix:path=$work/bus
  start_and_wait dbus-daemon dbus-daemon --nofork --nopidfile --print-address=1 --config-file="$work/bus.conf"
}
