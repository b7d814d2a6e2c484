'use strict';
// What the page needs script for: links to any line, and the search. Everything else is there without it. Texts of the
// archive only ever become text nodes.
(() => {
  const rowHeight = 18; // as in the style
  const mostHits = 300; // shown
  const mostCounted = 100000;
  const excerptBefore = 40, longestExcerpt = 220;
  const byId = (id) => document.getElementById(id);
  const made = (name, className, text) => {
    const element = document.createElement(name);
    element.className = className;
    element.textContent = text;
    return element;
  };

  // The rows of a block by line: a row without a number carries the line above on.
  const lineOfRow = (block, row) => {
    const numbers = block.querySelector('.numbers').textContent.split('\n');
    while (row > 0 && !/^\d+$/.test(numbers[row])) row -= 1;
    return Number(numbers[row]) || Number(block.dataset.first);
  };

  const showLine = (item, line) => {
    const blocks = item.querySelectorAll('.block');
    let block = blocks[0];
    for (const other of blocks) {
      if (Number(other.dataset.first) > line) break;
      block = other;
    }
    if (!block) return;
    const row = Math.max(0, block.querySelector('.numbers').textContent.split('\n').indexOf(String(line)));
    for (const old of document.querySelectorAll('.here')) old.remove();
    const here = made('div', 'here', '');
    here.style.top = `${row * rowHeight}px`;
    block.append(here);
    // The list of what was found makes room, and covers nothing.
    byId('results').classList.add('followed');
    document.documentElement.style.scrollPaddingTop = `${document.querySelector('header').offsetHeight + rowHeight}px`;
    here.scrollIntoView({block: 'center', inline: 'nearest'});
  };

  const follow = () => {
    const target = /^#i(\d{1,6})(?:-L(\d{1,9}))?$/.exec(location.hash);
    const item = target && byId(`i${target[1]}`);
    if (!item) return;
    item.open = true;
    if (target[2]) showLine(item, Number(target[2]));
    else item.scrollIntoView({block: 'start'});
  };

  byId('items').addEventListener('click', (event) => {
    const numbers = event.target.closest('.numbers');
    if (!numbers) return;
    const row = Math.floor((event.clientY - numbers.getBoundingClientRect().top) / rowHeight);
    const item = numbers.closest('.item');
    location.hash = `${item.id}-L${lineOfRow(numbers.parentElement, row)}`;
  });
  // A link to the line that is shown already changes nothing that the browser would tell of.
  document.addEventListener('click', (event) => {
    const link = event.target.closest('a');
    if (link && (link.hash || link.href.baseVal) === location.hash) follow();
  });
  addEventListener('hashchange', follow);
  follow();

  // The search: a plain text, in upper or lower case, within lines; in pieces, so that the page stays alive.
  const query = byId('query'), results = byId('results'), count = byId('count'), hits = byId('hits');
  let pieces = null, run = 0, timer = 0;

  const readPieces = () => Array.from(document.querySelectorAll('.block'), (block) => {
    const text = block.querySelector('.lines').textContent;
    return {block, item: block.closest('.item'), text, lower: text.toLowerCase()};
  });

  const addHit = (piece, at, length) => {
    const begin = piece.lower.lastIndexOf('\n', at - 1) + 1;
    const row = piece.lower.slice(0, begin).split('\n').length - 1;
    const line = piece.text.split('\n', row + 1)[row];
    const from = Math.max(0, at - begin - excerptBefore);
    const link = made('a', '', '');
    link.href = `#${piece.item.id}-L${lineOfRow(piece.block, row)}`;
    link.append(made('span', 'where', `${piece.item.querySelector('.name').textContent}:${lineOfRow(piece.block, row)}`));
    const excerpt = made('span', 'excerpt', (from > 0 ? '…' : '') + line.slice(from, at - begin));
    excerpt.append(made('mark', '', line.slice(at - begin, at - begin + length)),
                   line.slice(at - begin + length, from + longestExcerpt));
    link.append(excerpt);
    const entry = document.createElement('li');
    entry.append(link);
    hits.append(entry);
  };

  const tell = (found, isDone) => {
    let all = 0;
    for (const number of found.values()) all += number;
    const names = Array.from(found, ([item, number]) => `${item.querySelector('.name').textContent} ${number}`);
    const where = names.length > 8 ? `${names.slice(0, 8).join(', ')} …` : names.join(', ');
    if (!isDone) count.textContent = `Searching … ${all}`;
    else if (all === 0) count.textContent = 'Found nowhere.';
    else {
      count.textContent = `${all >= mostCounted ? `${mostCounted} or more` : all} found: ${where}` +
                          (all > mostHits ? `. The first ${mostHits} are listed.` : '.');
    }
    return all;
  };

  const search = async () => {
    const current = ++run;
    const wanted = query.value.toLowerCase();
    hits.replaceChildren();
    results.classList.remove('followed');
    results.hidden = wanted.length < 2;
    if (results.hidden) return;
    pieces = pieces || readPieces();
    const found = new Map();
    let pause = performance.now() + 30, all = 0;
    for (const piece of pieces) {
      for (let at = piece.lower.indexOf(wanted); at >= 0 && all < mostCounted; at = piece.lower.indexOf(wanted, at + wanted.length)) {
        found.set(piece.item, (found.get(piece.item) || 0) + 1);
        if (all++ < mostHits) addHit(piece, at, wanted.length);
      }
      if (performance.now() > pause) {
        tell(found, false);
        await new Promise((resume) => { setTimeout(resume); });
        if (current !== run) return;
        pause = performance.now() + 30;
      }
    }
    tell(found, true);
  };

  const close = () => {
    run += 1;
    query.value = '';
    results.hidden = true;
    hits.replaceChildren();
  };
  const move = (step) => {
    const links = Array.from(hits.querySelectorAll('a'));
    const next = links.indexOf(document.activeElement) + step;
    if (next < 0) query.focus();
    else if (links[next]) links[next].focus();
  };

  byId('search').hidden = false;
  query.addEventListener('input', () => {
    clearTimeout(timer);
    timer = setTimeout(search, 120);
  });
  document.addEventListener('keydown', (event) => {
    const isInSearch = event.target === query || results.contains(event.target);
    if (event.key === '/' && event.target !== query && !event.ctrlKey && !event.metaKey && !event.altKey) {
      query.focus();
      query.select();
    } else if (event.key === 'Escape' && !results.hidden) {
      close();
      query.focus();
    } else if (event.key === 'Enter' && event.target === query) {
      const first = hits.querySelector('a');
      if (first) first.focus();
    } else if (isInSearch && (event.key === 'ArrowDown' || event.key === 'ArrowUp')) {
      move(event.key === 'ArrowDown' ? 1 : -1);
    } else return;
    event.preventDefault();
  });
})();
