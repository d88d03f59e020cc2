// What runs, with what can be done about it.
import { button, byId, element } from './dom.js';

export class Running {
  constructor(actions) {
    this.actions = actions;
    this.apps = [];
    this.list = byId('running');
  }

  stateOf(app) {
    const found = this.apps.find((running) => running.app === app);
    return { runs: found !== undefined, front: found?.front ?? false };
  }

  // Items stay the same elements, so that the focus does.
  show(apps) {
    this.apps = apps;
    byId('nothing-runs').hidden = apps.length > 0;
    const items = new Map([...this.list.children].map((item) => [item.dataset.app, item]));
    const shown = apps.map((app) => this.itemOf(app, items.get(app.app)));
    for (const item of items.values()) if (!shown.includes(item)) this.remove(item);
    shown.forEach((item, place) => {
      if (this.list.children[place] !== item) this.list.insertBefore(item, this.list.children[place] ?? null);
    });
  }

  remove(item) {
    const had = item.contains(document.activeElement);
    item.remove();
    if (had) this.actions.lostFocus();
  }

  itemOf(app, item) {
    if (!item) {
      item = element('li', {},
        element('span', { class: 'title', dir: 'auto' }, app.title), element('span', { class: 'where' }),
        button('To front', () => this.actions.front(app), { 'aria-label': `To front: ${app.title}` }),
        button('Terminate', () => this.actions.terminate(app), { 'aria-label': `Terminate: ${app.title}` }));
      item.dataset.app = app.app;
    }
    item.className = app.front ? 'front' : '';
    item.querySelector('.where').textContent = app.front ? 'in front' : 'running';
    return item;
  }
}
