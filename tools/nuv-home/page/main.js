// The home screen: brings the parts of the page together.
import { Banner } from './banner.js';
import { Connection } from './connection.js';
import { Details } from './details.js';
import { byId, setText } from './dom.js';
import { Drawer } from './drawer.js';
import { Faults } from './faults.js';
import { Filters } from './filters.js';
import { Grid } from './grid.js';
import { listenToKeys } from './keys.js';
import { Launches } from './launches.js';
import { Messages } from './messages.js';
import { Pin } from './pin.js';
import { Running } from './running.js';
import { Tiles } from './tiles.js';
import { Timeline } from './timeline.js';

// Neither the history nor a picture of the screen is to have the token.
history.replaceState(null, '', '/');

const connection = new Connection();
const banner = new Banner();
const launches = new Launches();
const actions = { launch, front: (app) => launch(app, {}), terminate, open: (app) => details.open(app), lostFocus };
const running = new Running(actions);
const stateOf = (app) => running.stateOf(app);
const tiles = new Tiles(connection, onTiles);
const grid = new Grid(byId('grid'), tiles, stateOf, actions);
const details = new Details(connection, actions, stateOf);
const filters = new Filters((question) => tiles.choose(question));
const messages = new Messages(connection);
const timeline = new Timeline(connection);
const pin = new Pin(connection, titleOf);
const drawers = [
  new Drawer('activity', (open) => {
    messages.setOpen(open);
    timeline.setOpen(open);
  }),
  new Drawer('faults'),
];
new Faults(connection);
let firstFocus = true;

async function launch(app, options = {}) {
  const answer = await connection.ask('launch', { app: app.app, title: app.title.slice(0, 200), ...options });
  if (!answer.ok) launches.showRefusal(app.title, answer.error);
}

async function terminate(app) {
  const answer = await connection.ask('terminate', { app: app.app });
  if (!answer.ok) launches.showRefusal(app.title, `not terminated: ${answer.error}`);
}

// Of an application that was never on the screen the id is known.
function titleOf(app) {
  return tiles.at(tiles.indexOf(app))?.title || app;
}

// Only a simulator can be told to misbehave.
function onTv(tv) {
  banner.set({ tv });
  byId('open-faults').hidden = !tv.simulator;
  if (!tv.simulator && tv.service) drawers[1].close();
}

function lostFocus() {
  grid.focus(grid.focused);
}

function countWords() {
  if (tiles.error) return 'The catalogue cannot be read.';
  if (tiles.total === null) return 'Reading the catalogue';
  if (tiles.total === 0) return 'No application is like that.';
  return tiles.total === 1 ? '1 application' : `${tiles.total} applications`;
}

function onTiles() {
  setText(byId('count'), countWords());
  banner.set({ catalogue: tiles.error });
  grid.update();
  if (!firstFocus || !tiles.total) return;
  firstFocus = false;
  if (document.activeElement === document.body) grid.focus(0);
}

function readAnew() {
  const { first, last } = grid.inView();
  tiles.refresh(first * grid.columns, Math.max(0, (last + 1) * grid.columns - 1));
}

connection.on('open', async () => {
  const hello = await connection.ask('hello');
  if (!hello.ok) return;
  banner.set({ connected: true });
  onTv(hello.tv);
  pin.show(hello.pins);
  messages.restart();
  running.show(hello.running);
  launches.restore(hello.launches);
  if (tiles.total === null) tiles.choose(filters.question());
  else readAnew();
});
connection.on('closed', () => banner.set({ connected: false }));
connection.on('tv', onTv);
connection.on('pins', (message) => pin.show(message.pins));
connection.on('lines', () => {
  messages.news();
  timeline.news();
});
connection.on('catalogue', readAnew);
connection.on('launch', (launched) => launches.show(launched));
connection.on('running', (message) => {
  running.show(message.apps);
  details.update();
  grid.update();
});

function scope() {
  return document.querySelector('dialog[open]') ?? drawers.find((drawer) => drawer.isOpen)?.panel ?? document;
}

// True where something was open.
function closeTopmost() {
  const dialog = document.querySelector('dialog[open]');
  if (dialog) {
    // One that has to do something first says so to the same event that the browser's own key brings.
    if (dialog.dispatchEvent(new Event('cancel', { cancelable: true }))) dialog.close();
    return true;
  }
  const drawer = drawers.find((one) => one.isOpen);
  drawer?.close();
  return drawer !== undefined;
}

listenToKeys({
  scope,
  back: () => closeTopmost() || filters.clearSearch() || grid.focus(grid.total > 0 && document.activeElement.closest('.tile') ? 0 : grid.focused),
  home: () => {
    while (closeTopmost() && !document.querySelector('#pin[open]'));
    filters.clearSearch();
    grid.focus(0);
  },
});
