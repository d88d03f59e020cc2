// The listener: the thread that owns the client's bus name and serves its object, through which results arrive.
#include <nuv_common/nuv_lock.h>
#include <nuv_common/nuv_log.h>
#include <nuv_common/nuv_proxy.h>

#include <ctime>
#include <exception>
#include <utility>

#include "nuv_common/nuv_listener_run.h"
#include "nuv_common/nuv_out_of_memory.h"

namespace {

thread_local ListenerRun* t_run = nullptr;  // the run of the listener thread that this is, if it is one

// Makes a context the thread's default while the listener runs.
class DefaultContext {
 public:
  explicit DefaultContext(GMainContext* context) : m_context(context) { g_main_context_push_thread_default(m_context); }
  ~DefaultContext() { g_main_context_pop_thread_default(m_context); }
  DefaultContext(const DefaultContext&) = delete;
  DefaultContext& operator=(const DefaultContext&) = delete;

 private:
  GMainContext* m_context;
};

// The listener's own mutex. The listener before this one ends soon, unless it is in a caller's callback: nobody is made
// to wait for that one.
class NUV_SCOPED_CAPABILITY MonitorLock {
 public:
  MonitorLock(Mutex& mutex, ListenerRun& run) NUV_ACQUIRE(mutex) : m_mutex(mutex) {
    timespec deadline{};
    clock_gettime(CLOCK_MONOTONIC, &deadline);
    deadline.tv_nsec += kPatienceNs;
    deadline.tv_sec += deadline.tv_nsec / kSecondNs;
    deadline.tv_nsec %= kSecondNs;
    if (m_mutex.try_lock_until(deadline)) return;
    run.Settle();
    m_mutex.lock();
  }
  ~MonitorLock() NUV_RELEASE() { m_mutex.unlock(); }
  MonitorLock(const MonitorLock&) = delete;
  MonitorLock& operator=(const MonitorLock&) = delete;

 private:
  static constexpr long kSecondNs = 1000000000;
  static constexpr long kPatienceNs = 800000000;

  Mutex& m_mutex;
};

// Runs a function in a context as soon as that is next dispatched.
void Post(GMainContext* context, GSourceFunc function, gpointer data, GDestroyNotify release) {
  GSource* source = g_idle_source_new();
  g_source_set_priority(source, G_PRIORITY_HIGH);
  g_source_set_callback(source, function, data, release);
  g_source_attach(source, context);
  g_source_unref(source);
}

// The loop may not run yet, and would forget a plain quit.
void StopLoop(GMainLoop* loop) {
  Post(
      g_main_loop_get_context(loop),
      [](gpointer data) -> gboolean {
        g_main_loop_quit(static_cast<GMainLoop*>(data));
        return G_SOURCE_REMOVE;
      },
      g_main_loop_ref(loop), [](gpointer data) { g_main_loop_unref(static_cast<GMainLoop*>(data)); });
}

std::string ClientBusName(const std::string& name, const std::string& objectName) {
  return "org.kelvo.tv.corvane." + name + "client." + objectName;
}

std::string ClientObjectPath(const std::string& name, const std::string& objectName) {
  return "/org/kelvo/tv/corvane/" + name + "client/" + objectName;
}

void OnClosed(GDBusConnection*, gboolean, GError*, gpointer run) {
  static_cast<ListenerRun*>(run)->closedSeen = true;
}

// Does what is left to be done in the context. The name's owner refers to the context and is released in it; a private
// connection that has closed, only once its "closed" signal was delivered.
void Drain(const ListenerRun& run) {
  const bool closing =
      run.privateConnection != nullptr && g_dbus_connection_is_closed(run.privateConnection.get()) != FALSE;
  while (closing && !run.closedSeen) g_main_context_iteration(run.context.get(), TRUE);
  while (g_main_context_iteration(run.context.get(), FALSE)) {
  }
}

constexpr auto kNameFlags =
    static_cast<GBusNameOwnerFlags>(G_BUS_NAME_OWNER_FLAGS_ALLOW_REPLACEMENT | G_BUS_NAME_OWNER_FLAGS_REPLACE);

void OnNameReply(GObject* source, GAsyncResult* result, gpointer name) {
  constexpr guint32 kPrimaryOwner = 1;
  const GTextHandle owned(static_cast<char*>(name));
  auto* connection = reinterpret_cast<GDBusConnection*>(source);
  const GVariantHandle reply(g_dbus_connection_call_finish(connection, result, nullptr));
  guint32 answer = 0;
  if (reply != nullptr) g_variant_get(reply.get(), "(u)", &answer);
  if (answer == kPrimaryOwner) CNUVGdbus::m_OnnameAcquired(connection, owned.get(), nullptr);
}

// Owns a name for as long as the connection lives. GLib's name owner would complain about a connection that closes
// while it is set up.
void RequestName(GDBusConnection* connection, const std::string& name) {
  g_dbus_connection_call(connection, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                         "RequestName", g_variant_new("(su)", name.c_str(), static_cast<guint32>(kNameFlags)),
                         G_VARIANT_TYPE("(u)"), G_DBUS_CALL_FLAGS_NONE, -1, nullptr, OnNameReply,
                         g_strdup(name.c_str()));
}

}  // namespace

void* CNUVGdbus::m_Monitor(void* instance) {
  auto* link = static_cast<CNUVGdbus*>(instance);
  if (link == nullptr) {
    NUV_ERROR("pInstance == NULL");
    return nullptr;
  }
  const std::shared_ptr<ListenerRun> run = link->JoinAsListener();
  if (run == nullptr) return nullptr;
  t_run = run.get();
  try {
    link->RunListener(run);
  } catch (const std::exception& error) {
    NUV_ERROR("the listener ends: %s", error.what());
  }
  run->Settle();
  t_run = nullptr;
  return nullptr;
}

// The run of the calling thread, or null where a later listener has taken its place already.
std::shared_ptr<ListenerRun> CNUVGdbus::JoinAsListener() {
  const CNUVClientAutoLock lock(m_stateMutex);
  return pthread_equal(m_thread, pthread_self()) != 0 ? m_run : nullptr;
}

void CNUVGdbus::RunListener(const std::shared_ptr<ListenerRun>& run) {
  const MonitorLock lock(m_monitorMutex, *run);
  NUV_INFO("Creating monitor %s.", CurrentEndpoint().objectName.c_str());
  g_type_class_unref(g_type_class_ref(G_TYPE_DBUS_CONNECTION));
  if (run->context == nullptr) run->context.reset(g_main_context_new());
  if (run->context == nullptr) {
    NUV_ERROR("context == NULL");
    return;
  }
  const DefaultContext defaultContext(run->context.get());
  if (!ParseIntrospection()) return;
  OwnName(*run);
  RunLoop(*run);
}

bool CNUVGdbus::ParseIntrospection() {
  std::string document;
  {
    const CNUVClientAutoLock lock(m_stateMutex);
    document = m_introspectionXml;
    const size_t mark = document.find("%s");
    if (mark != std::string::npos) document.replace(mark, 2, m_objectName);
  }
  GError* error = nullptr;
  GNodeInfoHandle nodeInfo(g_dbus_node_info_new_for_xml(document.c_str(), &error));
  if (error != nullptr) {
    const GErrorHandle owned(error);
    const GTextHandle name(g_dbus_error_encode_gerror(error));
    NUV_ERROR("error return %s, detail[message:%s, code:%d] ", name.get(), error->message, error->code);
    return false;
  }
  if (nodeInfo == nullptr) {
    NUV_ERROR("introspection created error ");
    return false;
  }
  const CNUVClientAutoLock lock(m_stateMutex);
  if (m_run.get() != t_run) return false;
  m_nodeInfo = std::move(nodeInfo);
  return true;
}

void CNUVGdbus::OwnName(ListenerRun& run) {
  const std::string name = ClientBusName(m_name, CurrentEndpoint().objectName);
  NUV_INFO("owning name %s.", name.c_str());
  if (run.privateConnection != nullptr) {
    g_signal_connect(run.privateConnection.get(), "closed", G_CALLBACK(OnClosed), &run);
    m_OnbusAcquired(run.privateConnection.get(), name.c_str(), this);
    RequestName(run.privateConnection.get(), name);
    return;
  }
  unsigned int ownerId = g_bus_own_name(G_BUS_TYPE_SYSTEM, name.c_str(), kNameFlags, m_OnbusAcquired, m_OnnameAcquired,
                                        nullptr, this, nullptr);
  {
    const CNUVClientAutoLock lock(m_stateMutex);
    if (m_run.get() == &run) m_ownerId = std::exchange(ownerId, 0);
  }
  if (ownerId != 0) g_bus_unown_name(ownerId);
}

void CNUVGdbus::RunLoop(ListenerRun& run) {
  const GMainLoopHandle loop(g_main_loop_new(run.context.get(), FALSE));
  bool current = false;
  {
    const CNUVClientAutoLock lock(m_stateMutex);
    current = m_run.get() == &run;
    if (current) m_mainLoop.reset(g_main_loop_ref(loop.get()));
  }
  if (current) g_main_loop_run(loop.get());
  Drain(run);
  if (run.privateConnection != nullptr) {
    g_signal_handlers_disconnect_by_data(run.privateConnection.get(), &run);
  }
}

void CNUVGdbus::m_OnbusAcquired(GDBusConnection* connection, const char* name, void* instance) {
  auto* link = static_cast<CNUVGdbus*>(instance);
  if (link == nullptr) {
    NUV_ERROR("NULL == pInstance");
    return;
  }
  NUV_INFO("onbus acquired! %s", name);
  if (link->OnObsoleteListener()) return;
  try {
    if (link->RegisterObject(connection)) {
      NUV_INFO("register object succeed,Created monitor!");
      link->WakeCreator();
    }
  } catch (const std::bad_alloc&) {
    OutOfMemory(NUV_HERE);  // no exception may pass through GLib
  }
  // The name is asked for when this handler has returned, so the run settles one dispatch later.
  if (t_run != nullptr) {
    Post(
        t_run->context.get(),
        [](gpointer run) -> gboolean {
          static_cast<ListenerRun*>(run)->Settle();
          return G_SOURCE_REMOVE;
        },
        t_run, nullptr);
  }
}

bool CNUVGdbus::RegisterObject(GDBusConnection* connection) {
  GNodeInfoHandle nodeInfo;
  GDBusInterfaceVTable vtable{};
  std::string objectName;
  GConnectionHandle own = ShareConnection(connection);
  {
    const CNUVClientAutoLock lock(m_stateMutex);
    std::swap(m_ownConnection, own);
    if (m_nodeInfo != nullptr) nodeInfo.reset(g_dbus_node_info_ref(m_nodeInfo.get()));
    vtable = m_vtable;
    objectName = m_objectName;
  }
  NUV_INFO("manager proxy on bus acquired! connection %d", static_cast<int>(reinterpret_cast<intptr_t>(connection)));
  const std::string path = ClientObjectPath(m_name, objectName);
  NUV_INFO("server is [%s], client is [%s]", m_server.c_str(), m_name.c_str());
  if (nodeInfo == nullptr) return false;
  GError* error = nullptr;
  const unsigned int id = g_dbus_connection_register_object(connection, path.c_str(), nodeInfo->interfaces[0], &vtable,
                                                            nullptr, nullptr, &error);
  if (error != nullptr) {
    const GErrorHandle owned(error);
    const GTextHandle text(g_dbus_error_encode_gerror(error));
    NUV_ERROR("register object error %s, detail[message:%s, code:%d] ", text.get(), error->message, error->code);
    return false;
  }
  if (id == 0) {
    NUV_ERROR("register id error");
    return false;
  }
  bool current = true;
  {
    const CNUVClientAutoLock lock(m_stateMutex);
    current = t_run == nullptr || m_run.get() == t_run;
    if (current) m_registrationId = id;
  }
  if (!current) g_dbus_connection_unregister_object(connection, id);
  return current;
}

void CNUVGdbus::WakeCreator() {
  NUV_INFO("give Begin.");
  {
    const CNUVClientAutoLock lock(m_waitMutex);
    m_waitFlag = 0;
    NUV_INFO("give cond_signal start.");
    pthread_cond_signal(&m_waitCond);
    NUV_INFO("give cond_signal end.");
  }
  NUV_INFO("give End.");
}

void CNUVGdbus::m_OnnameAcquired(GDBusConnection*, const char* name, void*) {
  NUV_INFO("on name acquired! %s", name);
}

void CNUVGdbus::m_DestroyMessageMonitor() {
  NUV_INFO("Destroy Message Monitor");
  ListenerHandles handles = TakeListenerHandles();
  handles.GiveBack();
  if (handles.thread != 0 && pthread_join(handles.thread, nullptr) != 0) NUV_ERROR("failed to pthread_join");
}

CNUVGdbus::ListenerHandles CNUVGdbus::TakeListenerHandles() {
  ListenerHandles handles;
  const CNUVClientAutoLock lock(m_stateMutex);
  handles.mainLoop = std::move(m_mainLoop);
  handles.ownerId = std::exchange(m_ownerId, 0);
  handles.nodeInfo = std::move(m_nodeInfo);
  handles.registrationId = std::exchange(m_registrationId, 0);
  handles.ownConnection = std::move(m_ownConnection);
  handles.thread = std::exchange(m_thread, 0);
  m_run.reset();
  return handles;
}

void CNUVGdbus::ListenerHandles::GiveBack() {
  if (ownerId != 0) g_bus_unown_name(ownerId);
  nodeInfo.reset();
  if (ownConnection != nullptr && registrationId != 0) {
    g_dbus_connection_unregister_object(ownConnection.get(), registrationId);
  }
  // Last, so that the listener finds what the calls above leave to be done in its context.
  if (mainLoop != nullptr) StopLoop(mainLoop.get());
}

bool CNUVGdbus::OnObsoleteListener() const {
  const CNUVClientAutoLock lock(m_stateMutex);
  return t_run != nullptr && m_run.get() != t_run;
}
