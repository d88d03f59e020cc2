// The socket: requests with their answers, events, and coming back after it broke.

const kRetryMs = 500;
const kSlowestRetryMs = 5000;
const kAnswerMs = 120000;
const kSeenEveryMs = 50;

export class Connection {
  constructor() {
    this.listeners = new Map();
    this.pending = new Map();
    this.lastId = 0;
    this.retryMs = kRetryMs;
    this.seen = 0;
    this.seenTimer = 0;
    this.open();
  }

  // "open" and "closed" are told like events of the server.
  on(event, listener) {
    if (!this.listeners.has(event)) this.listeners.set(event, []);
    this.listeners.get(event).push(listener);
  }

  // The answer, which says in "ok" whether it is one, and otherwise why not in "error".
  ask(what, fields = {}) {
    if (this.socket.readyState !== WebSocket.OPEN) return Promise.resolve(noConnection());
    const id = ++this.lastId;
    return new Promise((resolve) => {
      const timer = setTimeout(() => this.settle(id, { ok: false, error: 'nuv-home did not answer' }), kAnswerMs);
      this.pending.set(id, { resolve, timer });
      this.socket.send(JSON.stringify({ ...fields, do: what, id }));
    });
  }

  open() {
    this.socket = new WebSocket(`ws://${location.host}/socket`);
    this.socket.addEventListener('open', () => {
      this.retryMs = kRetryMs;
      this.tell('open', {});
    });
    this.socket.addEventListener('message', (message) => this.take(JSON.parse(message.data)));
    this.socket.addEventListener('close', () => this.closed());
  }

  closed() {
    clearTimeout(this.seenTimer);
    this.seenTimer = 0;
    for (const id of [...this.pending.keys()]) this.settle(id, noConnection());
    this.tell('closed', {});
    setTimeout(() => this.open(), this.retryMs);
    this.retryMs = Math.min(this.retryMs * 2, kSlowestRetryMs);
  }

  take(message) {
    this.seen = message.n;
    if (!this.seenTimer) this.seenTimer = setTimeout(() => this.acknowledge(), kSeenEveryMs);
    if (message.event) this.tell(message.event, message);
    else this.settle(message.id, message);
  }

  // The server keeps what was not seen in its memory, and gives up who does not read.
  acknowledge() {
    this.seenTimer = 0;
    if (this.socket.readyState === WebSocket.OPEN) this.socket.send(JSON.stringify({ seen: this.seen }));
  }

  settle(id, answer) {
    const pending = this.pending.get(id);
    if (!pending) return;
    this.pending.delete(id);
    clearTimeout(pending.timer);
    pending.resolve(answer);
  }

  tell(event, message) {
    for (const listener of this.listeners.get(event) ?? []) listener(message);
  }
}

function noConnection() {
  return { ok: false, error: 'the connection to nuv-home is gone', gone: true };
}
