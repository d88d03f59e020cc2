// Makes a simulator misbehave for the next launches.
import { button, byId, setText } from './dom.js';

const kFaults = [
  ['slow', 'Slow', 'answers after 3 s'],
  ['silent', 'Silent', 'gives no answer at all'],
  ['no-outcome', 'No outcome', 'accepts, and says nothing more'],
  ['failing', 'Failing', 'answers with an error'],
  ['refusing', 'Refusing', 'accepts, and reports that the launch failed'],
  ['crashing', 'Crashing', 'reports that the application ended while it was starting'],
  ['dying', 'Dying', 'ends itself'],
];

export class Faults {
  constructor(connection) {
    this.connection = connection;
    byId('fault-list').append(...kFaults.map(([name, title, words]) => {
      const made = button(title, () => this.set(name, `For the next launches: it ${words}.`), { 'aria-describedby': `fault-${name}` });
      const item = document.createElement('li');
      const description = document.createElement('span');
      description.id = `fault-${name}`;
      description.textContent = ` It ${words}.`;
      item.append(made, description);
      return item;
    }));
    byId('no-fault').addEventListener('click', () => this.set('none', 'It does nothing wrong any more.'));
  }

  get calls() {
    return Math.min(1000, Math.max(1, Math.trunc(Number(byId('fault-calls').value)) || 1));
  }

  async set(fault, words) {
    const calls = this.calls;
    const answer = await this.connection.ask('fault', { fault, calls });
    const count = fault === 'none' ? '' : ` (${calls === 1 ? 'one launch' : `${calls} launches`})`;
    setText(byId('fault-state'), answer.ok ? `${words}${count}` : `It was not told: ${answer.error}`);
  }
}
