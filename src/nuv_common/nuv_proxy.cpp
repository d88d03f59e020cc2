#include "nuv_common/nuv_proxy.h"

#include <nuv_common/nuv_cancellation.h>
#include <nuv_common/nuv_lock.h>
#include <nuv_common/nuv_log.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <ctime>

#include "nuv_common/nuv_bus_connection.h"
#include "nuv_common/nuv_listener_run.h"
#include "nuv_common/nuv_process.h"

namespace {

constexpr int kHeartbeatTimeoutMs = 10000;
constexpr int kListenerWaitSeconds = 10;
// Descriptors that connecting takes, the listener's context included, and a few to spare for the host's other threads.
constexpr int kDescriptorsToConnect = 10;

// Held while a link is made, which logs and calls nobody else. A child that is forked meanwhile makes a link of its
// own.
Mutex makingLink;

void LetChildMakeLinks() {
  makingLink.Renew(kPlainMutex);
}

[[maybe_unused]] const int makingIsRenewedInForks = pthread_atfork(nullptr, nullptr, LetChildMakeLinks);

void LogConnectError(const GError* error) {
  if (error == nullptr) {
    NUV_ERROR("get sync system bus pConnection == NULL");
    return;
  }
  const GTextHandle name(g_dbus_error_encode_gerror(error));
  NUV_ERROR("get sync system bus error %s, detail[message:%s, code:%d] ", name.get(), error->message, error->code);
}

}  // namespace

std::string getProcessName() {
  constexpr size_t kLinkSize = 254;
  constexpr ssize_t kPathSize = 1024;
  std::array<char, kLinkSize> link{};
  std::array<char, kPathSize> path{};
  snprintf(link.data(), link.size(), "/proc/%d/exe", getpid());
  const ssize_t length = readlink(link.data(), path.data(), path.size());
  if (length < 0) {
    NUV_ERROR("error.  len < 0");
    return {};
  }
  if (length == kPathSize) {
    NUV_ERROR("error.  len == 1024");
    return {path.data(), path.size()};
  }
  NUV_INFO("the path name is %s.", path.data());
  return {path.data(), static_cast<size_t>(length)};
}

CNUVGdbus::CNUVGdbus(const std::string& name, const std::string& server, AsyncCallback callback, void* userData)
    : m_waitCond(PTHREAD_COND_INITIALIZER),
      m_thread(0),
      m_asyncCallback(callback),
      m_userData(userData),
      m_proxyCreated(false),
      m_name(name),
      m_server(server),
      m_waitFlag(1),
      m_registrationId(0),
      m_ownerId(0),
      m_vtable() {
  NUV_INFO("CNUVGdbus [%s] constructor.", name.c_str());
  m_processName = getProcessName();
  if (m_processName.empty()) m_processName = "no_name";
  // The lightweight service, using this library, calls the full service and never itself.
  if (m_processName.find("litecorvane") != std::string::npos) {
    m_server = "corvane";
    NUV_ERROR("Reset dbus receiver to [%s].", m_server.c_str());
  }
  m_service.Make(m_server);
  NUV_INFO("CNUVGdbus [%s] constructor end", name.c_str());
}

void CNUVGdbus::ServiceNames::Make(const std::string& server) {
  busName = "org.kelvo.tv." + server + ".server";
  objectPath = "/org/kelvo/tv/" + server + "/server";
  interface = busName + ".interface";
}

CNUVGdbus::~CNUVGdbus() {
  ReleaseClientObject();
}

void CNUVGdbus::ReleaseClientObject() {
  NUV_INFO("CNUVGdbus [%s] destructor...", m_name.c_str());
  unsigned int registrationId = 0;
  GConnectionHandle connection;
  if (!IsForkedChild()) {
    const LeafLock lock(m_stateMutex);
    if (m_registrationId != 0 && m_ownConnection != nullptr) {
      registrationId = std::exchange(m_registrationId, 0);
      connection = std::move(m_ownConnection);
    }
  }
  if (connection != nullptr) g_dbus_connection_unregister_object(connection.get(), registrationId);
  if (!IsForkedChild() && m_proxyMutex.try_lock()) {
    JoinEndedListeners();
    m_proxyMutex.unlock();
  }
  NUV_INFO("CNUVGdbus [%s] destructor end", m_name.c_str());
}

int CNUVGdbus::GetProxy(const char* introspectionXml, GDBusInterfaceVTable vtable) {
  Endpoint unused;
  return GetProxy(introspectionXml, vtable, unused);
}

int CNUVGdbus::GetProxy(const char* introspectionXml, GDBusInterfaceVTable vtable, Endpoint& endpoint) {
  NUV_INFO("Start");
  if (RefuseInForkedChild()) return 0;
  for (;;) {
    Standing probed;
    if (m_proxyCreated) {
      probed = CurrentStanding();
      if (ProbeService(probed.endpoint) && probed.hasListener) {
        endpoint = std::move(probed.endpoint);
        return 1;
      }
    }
    const MutexLock lock(m_proxyMutex);
    // Another thread may have made or renewed the link in the meantime: the next turn of the loop probes that link.
    if (m_proxyCreated && CurrentStanding().generation != probed.generation) continue;
    const CancellationOff guard;
    const int usable = SetUp(introspectionXml, vtable);
    endpoint = CurrentEndpoint();
    return usable;
  }
}

bool CNUVGdbus::ProbeService(const Endpoint& endpoint) {
  GVariant* reply = nullptr;
  const bool alive = MethodCall(endpoint, "heartbeat", nullptr, &reply, kHeartbeatTimeoutMs, nullptr) == 1;
  const GVariantHandle owned(reply);
  if (alive) NUV_INFO("Gdbus proxy has been created");
  return alive;
}

int CNUVGdbus::SetUp(const char* introspectionXml, const GDBusInterfaceVTable& vtable) {
  m_proxyCreated = false;
  {
    const LeafLock lock(m_stateMutex);
    m_introspectionXml = introspectionXml;
    m_vtable = vtable;
  }
  const Endpoint current = CurrentEndpoint();
  const bool open = current.connection != nullptr && !g_dbus_connection_is_closed(current.connection.get());
  if (open) {
    NUV_INFO("g_dbus connection is not closed");
    // As documented, a failed probe on an open connection renews nothing and ends all probing.
    if (CurrentStanding().hasListener) return 1;
  }
  if (!DescriptorsAreFree(kDescriptorsToConnect)) return 0;
  RetireListener();
  if (!Connect() || !StartListener()) return 0;
  if (!open) WaitForListener();  // nobody waits for a listener that is only made again
  if (!CurrentStanding().hasListener) NUV_ERROR("no listener: the results of launches cannot be heard");
  m_proxyCreated = true;
  NUV_INFO("End");
  return 1;
}

bool CNUVGdbus::Connect() {
  NUV_INFO("getting gdus connection.");  // misspelt; readers of the log know it
  GConnectionHandle previous;
  {
    const LeafLock lock(m_stateMutex);
    previous = std::move(m_connection);
  }
  previous.reset();  // the shared connection is only made anew when nobody holds the closed one
  const bool first = NoteBusProcess();
  // GLib's own thread is started with the first connection, and lives as long as the process.
  if (first && !AThreadCanBeStarted()) {
    ForgetBusProcess();
    return false;
  }
  BusConnection bus = ConnectToSystemBus();
  if (bus.connection == nullptr) {
    if (first) ForgetBusProcess();
    LogConnectError(bus.error.get());
    return false;
  }
  NUV_INFO("got gdus connection success");
  NUV_INFO("getpid %d", getpid());
  GConnectionHandle privateBus(bus.context == nullptr ? nullptr : ShareConnection(bus.connection.get()));
  auto run = std::make_shared<ListenerRun>(std::move(bus.context), std::move(privateBus));
  const LeafLock lock(m_stateMutex);
  m_connection = std::move(bus.connection);
  m_run = std::move(run);
  m_objectName = "obj" + std::to_string(getpid());
  ++m_generation;
  return true;
}

bool CNUVGdbus::StartListener() {
  NUV_INFO("create Begin.");  // around nothing; readers of the log look for the pair
  NUV_INFO("create End.");
  const std::shared_ptr<ListenerRun> run = CurrentRun();
  bool started = false;
  try {
    started = OfferAndServe(run);
  } catch (const std::bad_alloc&) {
    GiveProxy();
    AbandonRun(*run);
    throw;
  }
  JoinEndedListeners();
  if (started) return true;
  NUV_ERROR("failed to create thread");
  GiveProxy();
  AbandonRun(*run);
  NUV_INFO("destroy Begin.");  // around nothing, like the other pair
  NUV_INFO("destroy End.");
  return false;
}

void CNUVGdbus::JoinEndedListeners() {
  m_retiredThreads.erase(std::remove_if(m_retiredThreads.begin(), m_retiredThreads.end(),
                                        [](pthread_t thread) { return pthread_tryjoin_np(thread, nullptr) == 0; }),
                         m_retiredThreads.end());
}

// Runs out after ten seconds where the client object could not be offered, because nobody signals the condition then.
// The limit is on the monotonic clock: a time of day that is set back would make the wait longer.
void CNUVGdbus::WaitForListener() {
  NUV_INFO("wait for create monitor success(10s timeout)");
  NUV_INFO("take try Begin.");
  {
    const LeafLock lock(m_waitMutex);
    if (m_waitFlag != 0) {
      m_waitFlag = 1;
      timespec deadline{};
      clock_gettime(CLOCK_MONOTONIC, &deadline);
      deadline.tv_sec += kListenerWaitSeconds;
      NUV_INFO("TAKE_TRY timedwait start.");  // in capitals; readers of the log know it
      pthread_cond_clockwait(&m_waitCond, &static_cast<pthread_mutex_t&>(m_waitMutex), CLOCK_MONOTONIC, &deadline);
      NUV_INFO("TAKE_TRY timedwait end.");
    }
  }
  NUV_INFO("take try End.");
  NUV_INFO("create monitor success");
  NUV_INFO("destroy Begin.");  // around nothing: what it destroyed lives as long as the link
  NUV_INFO("destroy End.");
}

void CNUVGdbus::RetireListener() {
  m_retiredThreads.reserve(m_retiredThreads.size() + 1);  // so that push_back() below cannot fail
  ListenerHandles handles = TakeListenerHandles();
  handles.GiveBack();
  if (handles.thread != 0) m_retiredThreads.push_back(handles.thread);
}

void CNUVGdbus::GiveProxy() {
  NUV_INFO("Start");
  m_DestroyMessageMonitor();
  GConnectionHandle connection;
  {
    const LeafLock lock(m_stateMutex);
    connection = std::move(m_connection);
  }
  if (connection != nullptr) NUV_ERROR("release the nuv api gdbus connection.");
  connection.reset();
  m_proxyCreated = false;
  NUV_INFO("End");
}

CNUVGdbus::Endpoint CNUVGdbus::CurrentEndpoint() const {
  const LeafLock lock(m_stateMutex);
  return EndpointNow();
}

CNUVGdbus::Endpoint CNUVGdbus::EndpointNow() const {
  return {ShareConnection(m_connection.get()), m_objectName, m_listenerId};
}

int32_t CNUVGdbus::ListenerId() const {
  const LeafLock lock(m_stateMutex);
  return m_listenerId;
}

std::shared_ptr<ListenerRun> CNUVGdbus::CurrentRun() const {
  const LeafLock lock(m_stateMutex);
  return m_run;
}

CNUVGdbus::Standing CNUVGdbus::CurrentStanding() const {
  const LeafLock lock(m_stateMutex);
  return {EndpointNow(), m_generation, m_thread != 0 && m_registrationId != 0 && m_run != nullptr && !m_run->ended};
}

CNUVGdbus* ProcessLifetimeLink::Make() {
  const MutexLock lock(makingLink);
  if (m_link == nullptr) {
    m_link = new CNUVGdbus(m_name, m_server, nullptr, nullptr);
    std::atexit(m_atExit);
  }
  return m_link;
}
