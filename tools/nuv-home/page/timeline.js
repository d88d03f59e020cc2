// The time line of what passed last: a lane for each process, in it bars for calls and marks for what takes no time.
// What is drawn stands as words in a table behind it, too.
import { byId, element, setText } from './dom.js';

const kSvg = 'http://www.w3.org/2000/svg';
const kEveryMs = 500;
const kWindowUs = 20e6;
const kLabelWidth = 190;
const kRow = 26;
const kLaneHead = 20;

function shape(name, attributes, text = '') {
  const made = document.createElementNS(kSvg, name);
  for (const [key, value] of Object.entries(attributes)) made.setAttribute(key, value);
  if (text) made.textContent = text;
  return made;
}

function ms(us) {
  return us >= 1e6 ? `${(us / 1e6).toFixed(2)} s` : `${(us / 1e3).toFixed(1)} ms`;
}

export class Timeline {
  constructor(connection) {
    this.connection = connection;
    this.open = false;
    this.timer = 0;
    this.last = 0;
  }

  setOpen(open) {
    this.open = open;
    if (open) this.news();
  }

  news() {
    if (!this.open || this.timer) return;
    this.timer = setTimeout(() => this.draw(), Math.max(0, this.last + kEveryMs - performance.now()));
  }

  async draw() {
    const answer = await this.connection.ask('timeline');
    this.timer = 0;
    this.last = performance.now();
    if (answer.ok && this.open) this.show(answer);
  }

  show(all) {
    const end = Math.max(...all.bars.map((bar) => bar.end), ...all.marks.map((mark) => mark.time), 0);
    const begin = Math.max(Math.min(...all.bars.map((bar) => bar.begin), ...all.marks.map((mark) => mark.time), end), end - kWindowUs);
    const bars = all.bars.filter((bar) => bar.end >= begin);
    const marks = all.marks.filter((mark) => mark.time >= begin);
    const lanes = all.lanes.map((lane, number) => ({ ...lane, number }))
      .filter((lane) => [...bars, ...marks].some((what) => what.lane === lane.number));
    const span = Math.max(end - begin, 1);
    setText(byId('timeline-words'), lanes.length === 0 ? 'Nothing has passed yet.'
      : `${bars.length} calls and ${marks.length} events within ${ms(span)}.`);
    this.drawLanes({ lanes, bars, marks, begin, span });
    this.list({ all, bars, marks, begin });
  }

  drawLanes({ lanes, bars, marks, begin, span }) {
    const width = Math.max(320, byId('timeline').clientWidth);
    const height = lanes.length * (kLaneHead + 2 * kRow) + 4;
    const room = width - 20;
    const x = (time) => 8 + Math.max(0, (time - begin) / span) * Math.max(room - kLabelWidth, 80);
    const drawing = shape('svg', { width, height, viewBox: `0 0 ${width} ${height}`, role: 'img', 'aria-labelledby': 'timeline-words' });
    lanes.forEach((lane, place) => {
      const top = place * (kLaneHead + 2 * kRow);
      drawing.append(shape('text', { x: 4, y: top + 15, class: 'lane' }, lane.pid ? `${lane.name} ${lane.pid}` : lane.name));
      drawing.append(shape('line', { x1: 0, x2: width, y1: top + kLaneHead + 2 * kRow, y2: top + kLaneHead + 2 * kRow, class: 'rule' }));
      for (const bar of bars.filter((one) => one.lane === lane.number)) this.drawBar(drawing, bar, top + kLaneHead, x);
      for (const mark of marks.filter((one) => one.lane === lane.number)) this.drawMark(drawing, mark, top + kLaneHead + kRow, x);
    });
    byId('timeline').replaceChildren(drawing);
  }

  drawBar(drawing, bar, top, x) {
    const left = x(bar.begin);
    const kind = bar.ending === 'answered' ? 'done' : bar.ending === 'answered with an error' ? 'error' : 'open';
    const made = shape('rect', { x: left, y: top + 4, width: Math.max(3, x(bar.end) - left), height: kRow - 8, class: `bar ${kind}` });
    made.append(shape('title', {}, `${bar.name} ${bar.detail}: ${bar.ending}, ${ms(bar.end - bar.begin)}`));
    drawing.append(made);
  }

  drawMark(drawing, mark, top, x) {
    const made = shape('circle', { cx: x(mark.time), cy: top + kRow / 2, r: 6, class: `mark ${mark.kind}` });
    made.append(shape('title', {}, `${mark.name} ${mark.detail}`));
    drawing.append(made);
  }

  list({ all, bars, marks, begin }) {
    const rows = [
      ...bars.map((bar) => ({ at: bar.begin, lane: bar.lane, what: `${bar.name} ${bar.detail}`, how: `${bar.ending}${bar.error ? ` (${bar.error})` : ''} after ${ms(bar.end - bar.begin)}` })),
      ...marks.map((mark) => ({ at: mark.time, lane: mark.lane, what: `${mark.name} ${mark.detail}`, how: mark.kind })),
    ].sort((one, other) => other.at - one.at).slice(0, 60);
    byId('timeline-rows').replaceChildren(...rows.map((row) => element('tr', {},
      element('td', {}, ms(row.at - begin)), element('td', {}, all.lanes[row.lane].name),
      element('td', { dir: 'auto' }, row.what), element('td', {}, row.how))));
  }
}
