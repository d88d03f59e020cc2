// The library's link to the Nuv service.
//
// A link calls the service's methods synchronously over the system bus, and owns a client object on that bus, served by
// a listener thread, through which the service sends results back.
//
// Locks of a link: m_proxyMutex is held while the link is made anew; m_monitorMutex by a listener for the whole of its
// run; m_waitMutex belongs to the handshake of the two. m_stateMutex is a leaf: it guards every member that changes,
// and no call of GLib and no log line is made under it.
#pragma once

#include <gio/gio.h>
#include <nuv_common/nuv_lock.h>
#include <pthread.h>
#include <sys/types.h>

#include <atomic>
#include <cstdint>
#include <future>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "nuv_common/nuv_handles.h"

// What a link's owner would receive through its callback; no event is ever made.
struct _NUV_PROXY_ASYNC_EVENT {
  std::string name;
};

struct ListenerRun;
struct ListenerStart;

class CNUVGdbus {
 public:
  using AsyncCallback = void (*)(const _NUV_PROXY_ASYNC_EVENT&, void*);

  // What one request needs to know of the link, taken at one moment: its object, its listener, its connection.
  struct Endpoint {
    GConnectionHandle connection;
    std::string objectName;
    int32_t listenerId = 0;
  };

  // name: the link's own kind, such as "launcher"; server: short name of the service, such as "litecorvane".
  CNUVGdbus(const std::string& name, const std::string& server, AsyncCallback callback, void* userData);
  ~CNUVGdbus();
  CNUVGdbus(const CNUVGdbus&) = delete;
  CNUVGdbus& operator=(const CNUVGdbus&) = delete;

  // Makes sure that the link is usable: 1 usable, 0 not. Blocks up to 10 s for a probe of the service, and where a
  // first call cannot offer the client object, 10 s for that. Always called with the same document and table for a
  // given link.
  int GetProxy(const char* introspectionXml, GDBusInterfaceVTable vtable);

  // The same, with the endpoint that was found usable.
  int GetProxy(const char* introspectionXml, GDBusInterfaceVTable vtable, Endpoint& endpoint);

  // One synchronous call: 1 success, 0 failure. parameters may be null and is consumed when floating. *reply, where
  // the call succeeded, is a reference that the caller releases. isTimeOutError may be null; it is set to 1 when the
  // call ran out of time and left alone otherwise.
  int MethodCall(std::string method, GVariant* parameters, GVariant** reply, int timeoutMs, int* isTimeOutError);

  // The same on the endpoint's own connection, so that a request never travels over another connection than the one
  // whose listener it names.
  int MethodCall(const Endpoint& endpoint, const std::string& method, GVariant* parameters, GVariant** reply,
                 int timeoutMs, int* isTimeOutError);

  // Takes the link down; the next GetProxy() starts afresh.
  void GiveProxy();

  Endpoint CurrentEndpoint() const;

  // Identifies the listener among all that this process has had, in the form in which it is sent, printed and compared:
  // the low 32 bits of its thread id, unless an earlier listener had them. 0 when none runs.
  int32_t ListenerId() const;

  // Gives the client object back, as the destructor does. For links that live until the process ends.
  void ReleaseClientObject();

  // The listener thread, its handlers, and its end.
  static void* m_Monitor(void* instance);
  static void m_OnbusAcquired(GDBusConnection* connection, const char* name, void* instance);
  static void m_OnnameAcquired(GDBusConnection* connection, const char* name, void* instance);
  void m_DestroyMessageMonitor();

 private:
  friend class LinkProbe;  // white-box tests

  // A snapshot of the link. `generation` counts its connections; `hasListener` says that results can arrive: the client
  // object is offered, and a thread serves it.
  struct Standing {
    Endpoint endpoint;
    unsigned int generation = 0;
    bool hasListener = false;
  };

  // What a listener holds on the bus, moved out of the link before it is given back.
  struct ListenerHandles {
    GMainLoopHandle mainLoop;
    unsigned int ownerId = 0;
    GNodeInfoHandle nodeInfo;
    unsigned int registrationId = 0;
    GConnectionHandle ownConnection;
    pthread_t thread = 0;

    void GiveBack();
  };

  // The service's names on the bus. Every call needs them, so they are made once.
  struct ServiceNames {
    void Make(const std::string& server);

    std::string busName;
    std::string objectPath;
    std::string interface;
  };

  bool ProbeService(const Endpoint& endpoint);
  int SetUp(const char* introspectionXml, const GDBusInterfaceVTable& vtable) NUV_REQUIRES(m_proxyMutex);
  bool Connect();
  bool StartListener() NUV_REQUIRES(m_proxyMutex);
  void JoinEndedListeners() NUV_REQUIRES(m_proxyMutex);
  void WaitForListener();
  void RetireListener() NUV_REQUIRES(m_proxyMutex);
  Standing CurrentStanding() const;
  Endpoint EndpointNow() const NUV_REQUIRES(m_stateMutex);
  std::shared_ptr<ListenerRun> CurrentRun() const;

  // Runs on the thread that connects, so that no request is sent before the client object and the name that its result
  // is sent to. False where the listener thread cannot be started.
  bool OfferAndServe(const std::shared_ptr<ListenerRun>& run) NUV_REQUIRES(m_proxyMutex);
  void PrepareListener(ListenerRun& run) NUV_REQUIRES(m_proxyMutex);
  bool ParseIntrospection();
  void OwnName(ListenerRun& run);
  bool RegisterObject(GDBusConnection* connection);
  void WakeCreator();
  bool CreateListenerThread(ListenerStart* start);
  void TakeListenerId() NUV_REQUIRES(m_stateMutex);

  // Runs on the listener thread.
  void RunListener(ListenerRun& run) NUV_UNANALYSED;

  ListenerHandles TakeListenerHandles();

  // The handshake's mutex and condition live as long as the link.
  LeafMutex m_waitMutex;
  pthread_cond_t m_waitCond;
  Mutex m_monitorMutex;
  Mutex m_proxyMutex;
  mutable LeafMutex m_stateMutex;

  pthread_t m_thread NUV_GUARDED_BY(m_stateMutex);        // the listener; 0 when none runs
  std::string m_processName;                              // executable of this process
  std::string m_objectName NUV_GUARDED_BY(m_stateMutex);  // "obj" and the process id
  std::map<int32_t, _NUV_PROXY_ASYNC_EVENT> m_asyncEventMap;
  AsyncCallback m_asyncCallback;
  void* m_userData;
  std::string m_introspectionXml NUV_GUARDED_BY(m_stateMutex);
  std::atomic<bool> m_proxyCreated;
  std::string m_name;
  std::string m_server;
  int32_t m_waitFlag NUV_GUARDED_BY(m_waitMutex);  // 1 until a listener has registered its object, then 0 for good
  GMainLoopHandle m_mainLoop NUV_GUARDED_BY(m_stateMutex);
  unsigned int m_registrationId NUV_GUARDED_BY(m_stateMutex);
  unsigned int m_ownerId NUV_GUARDED_BY(m_stateMutex);
  GNodeInfoHandle m_nodeInfo NUV_GUARDED_BY(m_stateMutex);
  GDBusInterfaceVTable m_vtable NUV_GUARDED_BY(m_stateMutex);
  GConnectionHandle m_connection NUV_GUARDED_BY(m_stateMutex);
  GConnectionHandle m_ownConnection
      NUV_GUARDED_BY(m_stateMutex);  // the connection that the client object is registered on

  ServiceNames m_service;  // settled by the constructor

  int32_t m_listenerId NUV_GUARDED_BY(m_stateMutex) = 0;
  std::vector<int32_t> m_listenerIds NUV_GUARDED_BY(m_stateMutex);       // of all listeners so far
  std::shared_ptr<ListenerRun> m_run NUV_GUARDED_BY(m_stateMutex);       // the current listener's
  std::shared_future<void> m_lastOver NUV_GUARDED_BY(m_stateMutex);      // the last listener with a turn is over
  unsigned int m_generation NUV_GUARDED_BY(m_stateMutex) = 0;            // counts the connections made
  std::vector<pthread_t> m_retiredThreads NUV_GUARDED_BY(m_proxyMutex);  // of earlier connections, not yet joined
};

// Executable path of the calling process; empty when it cannot be read.
std::string getProcessName();

// A link that is made on first use and lives until the process ends. No local static: a child forked while another
// thread was making it would wait for that thread for ever.
class ProcessLifetimeLink {
 public:
  // exit() calls atExit before it takes apart what the host made before the first use.
  constexpr ProcessLifetimeLink(const char* name, const char* server, void (*atExit)())
      : m_name(name), m_server(server), m_atExit(atExit) {}

  CNUVGdbus* get() {
    CNUVGdbus* const made = m_link.load(std::memory_order_acquire);
    return made != nullptr ? made : Make();
  }
  // For atExit: gives the client object back. Nothing that the listener may still touch is destroyed.
  void Release() { get()->ReleaseClientObject(); }

 private:
  CNUVGdbus* Make();

  const char* const m_name;
  const char* const m_server;
  void (*const m_atExit)();
  std::atomic<CNUVGdbus*> m_link{nullptr};
};
