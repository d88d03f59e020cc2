// What is wrong with the TV, or with the way to it, for as long as it is.
import { byId, setText } from './dom.js';

const kGone = {
  home: 'The connection to nuv-home is gone. This page goes on when it is back; where nuv-home was started anew, open the address that it has printed.',
  bus: 'The system bus is gone. The catalogue stays readable; launches fail until the bus is back.',
  service: 'The service does not run. The catalogue stays readable; launches fail until it does.',
};

export class Banner {
  constructor() {
    this.connected = false;
    this.tv = null;
    this.catalogue = '';
  }

  set(changes) {
    Object.assign(this, changes);
    const words = [this.gone(), this.tv?.warning, this.catalogue && `The catalogue cannot be read: ${this.catalogue}.`]
      .filter((text) => text);
    const banner = byId('banner');
    setText(banner, words.join(' '));
    banner.hidden = words.length === 0;
    setText(byId('state'), this.stateWords());
  }

  gone() {
    if (!this.connected) return kGone.home;
    if (!this.tv) return '';
    if (!this.tv.bus) return kGone.bus;
    return this.tv.service ? '' : kGone.service;
  }

  stateWords() {
    if (!this.connected) return 'Not connected';
    if (!this.tv) return 'Looking for the TV';
    if (!this.tv.bus) return 'Bus gone';
    if (!this.tv.service) return 'Service gone';
    return this.tv.simulator ? 'Connected to a simulator' : 'Connected to the service';
  }
}
