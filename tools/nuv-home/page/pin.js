// Asks for the PIN when a simulator wants it: of all pages that are open, the first one that answers.
import { byId, setText } from './dom.js';

export class Pin {
  constructor(connection, titleOf) {
    this.connection = connection;
    this.titleOf = titleOf;
    this.dialog = byId('pin');
    this.input = byId('pin-input');
    this.question = null;
    byId('pin-ok').addEventListener('click', () => this.enter());
    byId('pin-cancel').addEventListener('click', () => this.cancel());
    this.dialog.addEventListener('cancel', (event) => {
      event.preventDefault();
      this.cancel();
    });
    this.input.addEventListener('keydown', (event) => {
      if (event.key === 'Enter') this.enter();
    });
  }

  show(pins) {
    const asked = pins[0];
    if (!asked) {
      this.question = null;
      this.dialog.close();
      return;
    }
    if (asked.question === this.question) return;
    this.question = asked.question;
    setText(byId('pin-title'), `PIN for ${this.titleOf(asked.app)}`);
    setText(byId('pin-answer'), '');
    this.input.value = '';
    if (!this.dialog.open) this.dialog.showModal();
    this.input.focus();
  }

  async enter() {
    const answer = await this.connection.ask('enter-pin', { question: this.question, pin: this.input.value });
    this.input.value = '';
    if (!answer.ok) setText(byId('pin-answer'), answer.error);
  }

  async cancel() {
    const answer = await this.connection.ask('cancel-pin', { question: this.question });
    if (!answer.ok) this.dialog.close();
  }
}
