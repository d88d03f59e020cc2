// One application: what is known about it, its launch with options, and why a launch would fail.
import { button, byId, element, setText } from './dom.js';

const kHows = [['Plain', {}], ['Forced', { force: true }], ['In the background', { background: true }]];

export class Details {
  constructor(connection, actions, stateOf) {
    this.connection = connection;
    this.actions = actions;
    this.stateOf = stateOf;
    this.dialog = byId('details');
    this.how = 0;
    this.hows = kHows.map(([name], place) => button(name, () => this.choose(place), { 'aria-pressed': 'false' }));
    byId('how').append(...this.hows);
    byId('do-launch').addEventListener('click', () => this.launch());
    byId('do-front').addEventListener('click', () => this.actAndClose(() => actions.front(this.app)));
    byId('do-terminate').addEventListener('click', () => this.actAndClose(() => actions.terminate(this.app)));
    byId('do-explain').addEventListener('click', () => this.explain());
    byId('do-close').addEventListener('click', () => this.dialog.close());
  }

  choose(how) {
    this.how = how;
    this.hows.forEach((one, place) => one.setAttribute('aria-pressed', String(place === how)));
  }

  open(app) {
    this.app = app;
    this.choose(0);
    byId('payload').value = '';
    byId('deep-link').checked = false;
    byId('details-answer').replaceChildren();
    setText(byId('details-title'), app.title || app.app);
    const facts = [['Id', app.app], ['Run title', app.runTitle], ['Version', app.version], ['Type', app.kind],
      ['Launched', `${app.used} times`], ['Last used', app.lastUsed]];
    byId('details-facts').replaceChildren(...facts.filter(([, value]) => value)
      .flatMap(([name, value]) => [element('dt', {}, name), element('dd', { dir: 'auto' }, value)]));
    this.update();
    this.dialog.showModal();
    byId('do-launch').focus();
  }

  update() {
    if (!this.app) return;
    const state = this.stateOf(this.app.app);
    const words = [state.front ? 'It is in front.' : state.runs ? 'It is running.' : 'It does not run.'];
    if (this.app.locked) words.push('It is locked: a launch asks for the PIN.');
    if (this.app.hidden) words.push('It is hidden.');
    setText(byId('details-states'), words.join(' '));
    byId('do-front').disabled = !state.runs;
    byId('do-terminate').disabled = !state.runs;
  }

  actAndClose(act) {
    this.dialog.close();
    act();
  }

  launch() {
    const options = { ...kHows[this.how][1], payload: byId('payload').value };
    if (byId('deep-link').checked) options.deepLink = true;
    this.actAndClose(() => this.actions.launch(this.app, options));
  }

  async explain() {
    const target = byId('details-answer');
    setText(target, 'Looking for reasons');
    const answer = await this.connection.ask('explain', { app: this.app.app });
    if (!answer.ok) return setText(target, answer.error);
    const lines = answer.reasons.map((reason) => element('li', { dir: 'auto' },
      reason.words, reason.mending ? element('span', { class: 'mending' }, ` ${reason.mending}`) : ''));
    target.replaceChildren(element('p', {}, answer.launch), element('ul', {}, ...lines));
  }
}
