// The listener: the client's object and bus name, through which results arrive, and the thread that serves them.
#include <nuv_common/nuv_lock.h>
#include <nuv_common/nuv_log.h>

#include <algorithm>
#include <exception>
#include <utility>

#include "nuv_common/nuv_bus_connection.h"
#include "nuv_common/nuv_listener_run.h"
#include "nuv_common/nuv_process.h"
#include "nuv_common/nuv_proxy.h"

// What a listener thread is started with.
struct ListenerStart {
  CNUVGdbus* link;
  std::shared_ptr<ListenerRun> run;
};

namespace {

// What a listener thread holds until it ends. A callback may end the thread: not every platform then unwinds the stack
// through GLib, but every platform destroys thread-local objects.
struct HeldByListener {
  HeldByListener() = default;
  ~HeldByListener() NUV_UNANALYSED {
    if (mutex != nullptr) mutex->unlock();
    if (run == nullptr) return;
    run->ended = true;
    run->over.set_value();
  }
  HeldByListener(const HeldByListener&) = delete;
  HeldByListener& operator=(const HeldByListener&) = delete;

  std::shared_ptr<ListenerRun> run;
  Mutex* mutex = nullptr;
};

thread_local HeldByListener heldByListener;

bool Contains(const std::vector<int32_t>& ids, int32_t id) {
  return std::find(ids.begin(), ids.end(), id) != ids.end();
}

void* RunListenerThread(void* data) {
  CNUVGdbus* link = nullptr;
  {
    const std::unique_ptr<ListenerStart> start(static_cast<ListenerStart*>(data));
    link = start->link;
    heldByListener.run = std::move(start->run);
  }
  return CNUVGdbus::m_Monitor(link);
}

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

// Dispatches what is still pending in the context. GLib's name owner is released there; a private connection that has
// closed is released only after its "closed" signal has been delivered.
void Drain(const ListenerRun& run) {
  const bool closing =
      run.privateConnection != nullptr && g_dbus_connection_is_closed(run.privateConnection.get()) != FALSE;
  while (closing && !run.closedSeen) g_main_context_iteration(run.context.get(), TRUE);
  while (g_main_context_iteration(run.context.get(), FALSE)) {
  }
}

void RunLoop(ListenerRun& run) {
  if (run.privateConnection != nullptr) {
    g_signal_connect(run.privateConnection.get(), "closed", G_CALLBACK(OnClosed), &run);
  }
  g_main_loop_run(run.loop.get());
  Drain(run);
  if (run.privateConnection != nullptr) {
    g_signal_handlers_disconnect_by_data(run.privateConnection.get(), &run);
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

void AbandonRun(ListenerRun& run) {
  if (run.context == nullptr) return;
  GDBusConnection* own = run.privateConnection.get();
  if (own != nullptr) {
    g_signal_connect(own, "closed", G_CALLBACK(OnClosed), &run);
    g_dbus_connection_close_sync(own, nullptr, nullptr);
  }
  Drain(run);
  if (own != nullptr) g_signal_handlers_disconnect_by_data(own, &run);
}

void* CNUVGdbus::m_Monitor(void* instance) {
  auto* link = static_cast<CNUVGdbus*>(instance);
  if (link == nullptr) {
    NUV_ERROR("pInstance == NULL");
    return nullptr;
  }
  if (heldByListener.run == nullptr || !heldByListener.run->prepared) return nullptr;
  try {
    link->RunListener(*heldByListener.run);
  } catch (const std::exception& error) {
    NUV_ERROR("the listener ends: %s", error.what());
  }
  return nullptr;
}

bool CNUVGdbus::OfferAndServe(const std::shared_ptr<ListenerRun>& run) {
  auto start = std::make_unique<ListenerStart>(ListenerStart{this, run});
  PrepareListener(*run);
  if (!CreateListenerThread(start.get())) return false;
  static_cast<void>(start.release());  // owned by the thread now
  return true;
}

bool CNUVGdbus::CreateListenerThread(ListenerStart* start) {
  const AllSignalsBlocked guard;
  const LeafLock lock(m_stateMutex);
  ListenerRun& run = *start->run;
  run.turn = m_lastOver;
  std::shared_future<void> over = run.over.get_future().share();
  const bool serves = run.prepared;  // else its thread ends at once, whoever has the turn
  if (pthread_create(&m_thread, nullptr, RunListenerThread, start) != 0) {
    m_thread = 0;
    return false;
  }
  if (serves) m_lastOver = std::move(over);
  TakeListenerId();
  return true;
}

// The listener's id is the low 32 bits of its thread id. A result for an earlier listener is recognised by that
// listener's id. The system gives a new thread the id of one that has been joined, so an id that was used before is
// replaced by the next free number.
void CNUVGdbus::TakeListenerId() {
  auto id = static_cast<uint32_t>(m_thread);
  while (id == 0 || Contains(m_listenerIds, static_cast<int32_t>(id))) ++id;
  m_listenerId = static_cast<int32_t>(id);
  m_listenerIds.push_back(m_listenerId);
}

// The listener holds the mutex until its thread ends. While a callback of the previous listener runs, this one waits
// for its turn, and what arrives waits in its context.
void CNUVGdbus::RunListener(ListenerRun& run) {
  if (run.turn.valid()) run.turn.wait();
  m_monitorMutex.lock();
  heldByListener.mutex = &m_monitorMutex;
  const ThreadDefaultContext guard(run.context.get());
  RunLoop(run);
}

void CNUVGdbus::PrepareListener(ListenerRun& run) {
  NUV_INFO("Creating monitor %s.", CurrentEndpoint().objectName.c_str());
  {
    const LeafLock lock(m_stateMutex);
    m_listenerIds.reserve(m_listenerIds.size() + 1);  // so that no allocation fails once the thread runs
  }
  g_type_class_unref(g_type_class_ref(G_TYPE_DBUS_CONNECTION));
  if (run.context == nullptr) run.context.reset(g_main_context_new());
  if (run.context == nullptr) {
    NUV_ERROR("context == NULL");
    return;
  }
  const ThreadDefaultContext guard(run.context.get());
  if (!ParseIntrospection()) return;
  OwnName(run);
  run.loop.reset(g_main_loop_new(run.context.get(), FALSE));
  run.prepared = true;
  const LeafLock lock(m_stateMutex);
  m_mainLoop.reset(g_main_loop_ref(run.loop.get()));
}

bool CNUVGdbus::ParseIntrospection() {
  std::string document;
  {
    const LeafLock lock(m_stateMutex);
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
  const LeafLock lock(m_stateMutex);
  m_nodeInfo = std::move(nodeInfo);
  return true;
}

// Owns the name on the existing connection: a name owner that connects by itself does so on a thread of GLib's shared
// pool, which the host may have filled.
void CNUVGdbus::OwnName(ListenerRun& run) {
  const Endpoint endpoint = CurrentEndpoint();
  const std::string name = ClientBusName(m_name, endpoint.objectName);
  NUV_INFO("owning name %s.", name.c_str());
  m_OnbusAcquired(endpoint.connection.get(), name.c_str(), this);
  if (run.privateConnection != nullptr) {
    RequestName(run.privateConnection.get(), name);
    return;
  }
  const unsigned int ownerId = g_bus_own_name_on_connection(endpoint.connection.get(), name.c_str(), kNameFlags,
                                                            m_OnnameAcquired, nullptr, this, nullptr);
  const LeafLock lock(m_stateMutex);
  m_ownerId = ownerId;
}

void CNUVGdbus::m_OnbusAcquired(GDBusConnection* connection, const char* name, void* instance) {
  auto* link = static_cast<CNUVGdbus*>(instance);
  if (link == nullptr) {
    NUV_ERROR("NULL == pInstance");
    return;
  }
  NUV_INFO("onbus acquired! %s", name);
  if (!link->RegisterObject(connection)) return;
  NUV_INFO("register object succeed,Created monitor!");
  link->WakeCreator();
}

bool CNUVGdbus::RegisterObject(GDBusConnection* connection) {
  GNodeInfoHandle nodeInfo;
  GDBusInterfaceVTable vtable{};
  std::string objectName;
  GConnectionHandle own = ShareConnection(connection);
  {
    const LeafLock lock(m_stateMutex);
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
  const LeafLock lock(m_stateMutex);
  m_registrationId = id;
  return true;
}

void CNUVGdbus::WakeCreator() {
  NUV_INFO("give Begin.");
  {
    const LeafLock lock(m_waitMutex);
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
  const LeafLock lock(m_stateMutex);
  handles.mainLoop = std::move(m_mainLoop);
  handles.ownerId = std::exchange(m_ownerId, 0);
  handles.nodeInfo = std::move(m_nodeInfo);
  handles.registrationId = std::exchange(m_registrationId, 0);
  handles.ownConnection = std::move(m_ownConnection);
  handles.thread = std::exchange(m_thread, 0);
  m_listenerId = 0;
  m_run.reset();
  return handles;
}

void CNUVGdbus::ListenerHandles::GiveBack() {
  if (ownerId != 0) g_bus_unown_name(ownerId);
  nodeInfo.reset();
  if (ownConnection != nullptr && registrationId != 0) {
    g_dbus_connection_unregister_object(ownConnection.get(), registrationId);
  }
  // Last, so that the listener still dispatches what the calls above leave in its context.
  if (mainLoop != nullptr) StopLoop(mainLoop.get());
}
