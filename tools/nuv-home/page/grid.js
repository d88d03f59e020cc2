// The tiles on the screen: of any number of applications only the rows in view are elements.
import { element, setText } from './dom.js';

const kRowsAround = 2;
const kHues = 8;

function hueOf(text) {
  let sum = 0;
  for (const c of text) sum = (sum * 31 + c.codePointAt(0)) % 9973;
  return sum % kHues;
}

function firstLetter(title) {
  const letter = [...title.trim()].find((c) => /[\p{L}\p{N}]/u.test(c)) ?? [...title.trim()][0] ?? '?';
  return letter.toLocaleUpperCase();
}

export class Grid {
  // What an application does now, "runs" and "front", is asked for by its id.
  constructor(target, tiles, stateOf, actions) {
    this.target = target;
    this.tiles = tiles;
    this.stateOf = stateOf;
    this.actions = actions;
    this.rows = new Map();
    this.columns = 1;
    this.rowHeight = 1;
    this.focused = 0;
    this.focusedApp = null;
    this.frame = 0;
    target.addEventListener('click', (event) => this.onClick(event));
    target.addEventListener('contextmenu', (event) => this.onContextMenu(event));
    target.addEventListener('keydown', (event) => this.onKey(event));
    target.addEventListener('focusin', (event) => this.onFocus(event));
    window.addEventListener('scroll', () => this.soon(), { passive: true });
    new ResizeObserver(() => this.measure()).observe(target);
  }

  get total() {
    return this.tiles.total ?? 0;
  }

  measure() {
    const rem = parseFloat(getComputedStyle(document.documentElement).fontSize);
    const width = this.target.clientWidth;
    const least = (width < 40 * rem ? 8 : 11) * rem;
    const gap = 0.75 * rem;
    const columns = Math.max(1, Math.floor((width + gap) / (least + gap)));
    const height = 11.75 * rem;
    if (columns === this.columns && height === this.rowHeight) return this.render();
    const had = this.target.contains(document.activeElement);
    this.clear();
    this.columns = columns;
    this.rowHeight = height;
    this.render();
    if (had) this.refocus();
  }

  clear() {
    for (const row of this.rows.values()) row.remove();
    this.rows.clear();
  }

  soon() {
    if (!this.frame) {
      this.frame = requestAnimationFrame(() => {
        this.frame = 0;
        this.render();
      });
    }
  }

  inView() {
    const top = this.target.getBoundingClientRect().top;
    const rowCount = Math.ceil(this.total / this.columns);
    const first = Math.max(0, Math.floor(-top / this.rowHeight) - kRowsAround);
    const last = Math.min(rowCount - 1, Math.floor((window.innerHeight - top) / this.rowHeight) + kRowsAround);
    return { first, last };
  }

  // The focused tile stays an element wherever the page is scrolled to, so that the focus is never lost.
  render() {
    const { first, last } = this.inView();
    this.target.style.height = `${Math.ceil(this.total / this.columns) * this.rowHeight}px`;
    this.target.setAttribute('aria-rowcount', Math.ceil(this.total / this.columns));
    this.target.setAttribute('aria-colcount', this.columns);
    this.focused = Math.max(0, Math.min(this.focused, this.total - 1));
    const kept = Math.floor(this.focused / this.columns);
    for (const [number, row] of this.rows) {
      if ((number < first || number > last) && number !== kept) this.drop(number, row);
    }
    for (let number = first; number <= last; ++number) this.showRow(number);
    if (this.total > 0) this.showRow(kept);
    this.tiles.want(first * this.columns, Math.min(this.total, (last + 1) * this.columns) - 1);
  }

  drop(number, row) {
    this.rows.delete(number);
    row.remove();
  }

  showRow(number) {
    let row = this.rows.get(number);
    if (!row) {
      row = element('div', { role: 'row', 'aria-rowindex': number + 1 });
      row.style.transform = `translateY(${number * this.rowHeight}px)`;
      row.style.gridTemplateColumns = `repeat(${this.columns}, minmax(0, 1fr))`;
      this.rows.set(number, row);
      const after = [...this.rows.keys()].filter((other) => other > number).sort((a, b) => a - b)[0];
      this.target.insertBefore(row, after === undefined ? null : this.rows.get(after));
    }
    const begin = number * this.columns;
    const count = Math.max(0, Math.min(this.columns, this.total - begin));
    while (row.children.length > count) row.lastElementChild.remove();
    for (let place = 0; place < count; ++place) this.showTile(row, place, begin + place);
  }

  showTile(row, place, index) {
    let tile = row.children[place];
    if (!tile) {
      tile = element('div', { role: 'gridcell', class: 'tile', 'aria-colindex': place + 1 });
      tile.dataset.index = index;
      row.append(tile);
    }
    tile.tabIndex = index === this.focused ? 0 : -1;
    const app = this.tiles.at(index);
    const words = app ? this.wordsOf(app) : ['is being read'];
    const key = app ? JSON.stringify([app, words]) : '';
    if (tile.dataset.key === key) return;
    tile.dataset.key = key;
    this.fill(tile, app, words);
  }

  wordsOf(app) {
    const state = this.stateOf(app.app);
    const words = [app.kind];
    if (state.front) words.push('in front');
    else if (state.runs) words.push('running');
    if (app.locked) words.push('locked');
    if (app.hidden) words.push('hidden');
    return words;
  }

  fill(tile, app, words) {
    const state = app ? this.stateOf(app.app) : {};
    tile.className = `tile${state.runs ? ' runs' : ''}${state.front ? ' front' : ''}${app ? '' : ' waits'}`;
    tile.dataset.app = app?.app ?? '';
    const title = app ? app.title || app.app : '';
    const old = tile.querySelector('.picture');
    const picture = app && old?.dataset.of === pictureKey(app) ? old : pictureOf(app, title);
    tile.replaceChildren(
      picture,
      element('span', { class: 'title', dir: 'auto' }, title),
      element('span', { class: 'unseen' }, ', '),
      element('span', { class: 'marks' }, words.join(', ')),
    );
  }

  // After the tiles or the states have changed: the focus stays with its application.
  update() {
    if (this.focusedApp !== null) {
      const index = this.tiles.indexOf(this.focusedApp);
      if (index >= 0 && this.tiles.at(this.focused)?.app !== this.focusedApp) this.follow(index);
    }
    this.render();
  }

  follow(index) {
    const had = this.target.contains(document.activeElement);
    this.focused = index;
    this.render();
    if (had) this.elementAt(index)?.focus({ preventScroll: true });
  }

  elementAt(index) {
    return this.rows.get(Math.floor(index / this.columns))?.children[index % this.columns];
  }

  focus(index) {
    if (this.total === 0) return;
    this.focused = Math.max(0, Math.min(index, this.total - 1));
    this.showRow(Math.floor(this.focused / this.columns));
    const tile = this.elementAt(this.focused);
    tile.focus({ preventScroll: true });
    tile.scrollIntoView({ block: 'nearest' });
    this.soon();
  }

  // Not the user's choice, so it is not the place that counts but the application, also where that is being read.
  refocus() {
    const app = this.focusedApp;
    const index = app === null ? -1 : this.tiles.indexOf(app);
    this.focus(index >= 0 ? index : this.focused);
    this.focusedApp = app;
  }

  onFocus(event) {
    const tile = event.target.closest('.tile');
    if (!tile) return;
    const before = this.elementAt(this.focused);
    if (before && before !== tile) before.tabIndex = -1;
    this.focused = Number(tile.dataset.index);
    this.focusedApp = this.tiles.at(this.focused)?.app ?? null;
    tile.tabIndex = 0;
  }

  onClick(event) {
    const tile = event.target.closest('.tile');
    const app = tile && this.tiles.at(Number(tile.dataset.index));
    if (!app) return;
    this.focus(Number(tile.dataset.index));
    this.actions.launch(app);
  }

  onContextMenu(event) {
    const tile = event.target.closest('.tile');
    const app = tile && this.tiles.at(Number(tile.dataset.index));
    if (!app) return;
    event.preventDefault();
    this.actions.open(app);
  }

  // False where there is no tile in that direction.
  move(key) {
    const rowsShown = Math.max(1, Math.floor(window.innerHeight / this.rowHeight) - 1) * this.columns;
    const steps = {
      ArrowLeft: -1, ArrowRight: 1, ArrowUp: -this.columns, ArrowDown: this.columns, PageUp: -rowsShown, PageDown: rowsShown,
    };
    const next = this.focused + steps[key];
    if (next < 0 && key !== 'PageUp') return false;
    const lastRow = Math.floor((this.total - 1) / this.columns);
    if (key === 'ArrowDown' && Math.floor(this.focused / this.columns) === lastRow) return false;
    if (key === 'ArrowRight' && next >= this.total) return false;
    this.focus(next);
    return true;
  }

  onKey(event) {
    if (event.ctrlKey || event.altKey || event.metaKey) return;
    const app = this.tiles.at(this.focused);
    if (/^(Arrow|Page)/.test(event.key)) {
      if (!this.move(event.key)) return;
    } else if (event.key === 'End') {
      this.focus(this.total - 1);
    } else if ((event.key === 'Enter' || event.key === ' ') && app) {
      if (!event.repeat) this.actions.launch(app);
    } else if ((event.key === 'ContextMenu' || event.key === 'i') && app) {
      this.actions.open(app);
    } else {
      return;
    }
    event.preventDefault();
    event.stopPropagation();
  }
}

function pictureKey(app) {
  return `${app.icon} ${app.app} ${app.title}`;
}

function letterOf(app, title) {
  const letter = element('span', { class: `picture letter hue-${hueOf(app?.app ?? '')}`, 'aria-hidden': 'true' });
  setText(letter, app ? firstLetter(title) : '');
  return letter;
}

function pictureOf(app, title) {
  if (!app?.icon) {
    const letter = letterOf(app, title);
    if (app) letter.dataset.of = pictureKey(app);
    return letter;
  }
  const image = element('img', { class: 'picture', alt: '', loading: 'lazy', src: `/icon?app=${encodeURIComponent(app.app)}` });
  image.dataset.of = pictureKey(app);
  image.addEventListener('error', () => {
    const letter = letterOf(app, title);
    letter.dataset.of = image.dataset.of;
    image.replaceWith(letter);
  });
  return image;
}
