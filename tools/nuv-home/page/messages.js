// The live messages in the drawer. Each line comes once and in order: this page asks for those behind its last one.
import { byId, element, setText } from './dom.js';

const kMostShown = 2000;

export class Messages {
  constructor(connection) {
    this.connection = connection;
    this.list = byId('messages');
    this.next = 0;
    this.count = 0;
    this.open = false;
    this.asking = false;
    this.again = false;
  }

  setOpen(open) {
    this.open = open;
    if (open) this.news();
  }

  // A nuv-home that was started anew counts anew.
  restart() {
    this.next = 0;
    this.asking = false;
    if (this.open) this.news();
  }

  async news() {
    if (!this.open) return;
    this.again = this.asking;
    if (this.asking) return;
    this.asking = true;
    const answer = await this.connection.ask('lines', { after: this.next });
    this.asking = false;
    if (!answer.ok) return;
    this.show(answer);
    if (answer.more || this.again) this.news();
  }

  show(answer) {
    setText(byId('messages-problem'), answer.problem);
    const atEnd = this.list.scrollTop + this.list.clientHeight >= this.list.scrollHeight - 4;
    if (answer.missed > 0) this.list.append(element('div', { class: 'missed' }, `${answer.missed} lines are no longer there`));
    this.list.append(...answer.lines.map((line) => element('div', { dir: 'auto' }, line)));
    while (this.list.children.length > kMostShown) this.list.firstElementChild.remove();
    this.next = answer.next;
    this.count += answer.lines.length;
    this.list.dataset.count = this.count;
    if (atEnd) this.list.scrollTop = this.list.scrollHeight;
  }
}
