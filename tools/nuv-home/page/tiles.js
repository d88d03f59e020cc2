// The applications that a question chose, page by page as they are looked at. What was read stays until it is read
// anew, so that a catalogue that changes does not blink.

const kPageSize = 60;

export class Tiles {
  constructor(connection, onChange) {
    this.connection = connection;
    this.onChange = onChange;
    this.question = { view: 'index' };
    this.round = 0;
    this.reset();
  }

  reset() {
    this.total = null;
    this.error = '';
    this.pages = new Map();
    this.wanted = new Map();
  }

  choose(question) {
    this.question = question;
    this.round += 1;
    this.reset();
    this.fetch(0);
  }

  // Reads again what is looked at; the rest when it is.
  refresh(first, last) {
    this.round += 1;
    this.wanted.clear();
    const from = Math.floor(first / kPageSize);
    const to = Math.floor(last / kPageSize);
    for (const page of [...this.pages.keys()]) if (page < from || page > to) this.pages.delete(page);
    for (let page = from; page <= to; ++page) this.fetch(page);
  }

  at(index) {
    return this.pages.get(Math.floor(index / kPageSize))?.[index % kPageSize];
  }

  want(first, last) {
    for (let page = Math.floor(first / kPageSize); page <= Math.floor(last / kPageSize); ++page) {
      if (page >= 0 && page * kPageSize < (this.total ?? 0) && !this.pages.has(page)) this.fetch(page);
    }
  }

  indexOf(app) {
    for (const [page, apps] of this.pages) {
      const place = apps.findIndex((tile) => tile.app === app);
      if (place >= 0) return page * kPageSize + place;
    }
    return -1;
  }

  async fetch(page) {
    if (this.wanted.get(page) === this.round) return;
    const round = this.round;
    this.wanted.set(page, round);
    const answer = await this.connection.ask('tiles', { ...this.question, index: page * kPageSize, count: kPageSize });
    if (round !== this.round) return;
    if (!answer.ok) {
      this.wanted.delete(page);
      if (!answer.gone) this.error = answer.error;
    } else {
      this.error = '';
      this.total = answer.total;
      this.pages.set(page, answer.apps);
    }
    this.onChange();
  }
}
