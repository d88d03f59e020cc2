// Launches and what became of them, in words: the latest one at the bottom of the page, all of them in the drawer.
import { byId, element, setText } from './dom.js';

const kMostShown = 100;
const kOpenStates = ['waiting', 'accepted'];

export function stateWords(launch) {
  if (launch.state === 'waiting') return 'waiting for the service';
  return launch.state;
}

function kindOf(launch) {
  if (kOpenStates.includes(launch.state)) return 'open';
  return launch.state === 'launched' ? 'good' : 'bad';
}

function timeOf(launch) {
  return new Date(launch.asked).toLocaleTimeString();
}

function describe(launch) {
  const parts = [
    element('span', { class: 'title', dir: 'auto' }, launch.title || launch.app), ': ',
    element('strong', {}, stateWords(launch)),
  ];
  if (launch.words) parts.push(`: ${launch.words}`);
  if (launch.name) parts.push(` (${launch.code} ${launch.name})`);
  const reasons = launch.reasons.filter((reason) => reason !== launch.words);
  if (reasons.length > 0) parts.push(`; ${reasons.join('; ')}`);
  if (launch.took !== null) parts.push(`, after ${(launch.took / 1000).toFixed(2)} s`);
  if (launch.mending) parts.push(' ', element('span', { class: 'mending' }, launch.mending));
  return parts;
}

export class Launches {
  constructor() {
    this.items = new Map();
    this.list = byId('launches');
    this.latest = byId('latest');
    this.latestNumber = 0;
  }

  restore(launches) {
    this.items.clear();
    this.list.replaceChildren();
    for (const launch of launches) this.show(launch);
  }

  show(launch) {
    let item = this.items.get(launch.launch);
    if (!item) {
      item = element('li');
      this.items.set(launch.launch, item);
      this.list.prepend(item);
      while (this.list.children.length > kMostShown) this.forgetOldest();
    }
    item.className = kindOf(launch);
    item.dataset.launch = launch.launch;
    item.dataset.state = launch.state;
    item.replaceChildren(`${timeOf(launch)} `, ...describe(launch), launch.how === 'plain' ? '' : ` [${launch.how}]`);
    if (launch.launch >= this.latestNumber) this.showLatest(launch);
  }

  forgetOldest() {
    const oldest = this.list.lastElementChild;
    this.items.delete(Number(oldest.dataset.launch));
    oldest.remove();
  }

  showLatest(launch) {
    this.latestNumber = launch.launch;
    this.latest.hidden = false;
    this.latest.className = kindOf(launch);
    this.latest.dataset.state = launch.state;
    this.latest.dataset.app = launch.app;
    this.latest.replaceChildren(...describe(launch));
  }

  // What was never a launch: the request was refused.
  showRefusal(title, why) {
    this.latest.hidden = false;
    this.latest.className = 'bad';
    this.latest.dataset.state = 'refused';
    setText(this.latest, `${title}: ${why}`);
  }
}
