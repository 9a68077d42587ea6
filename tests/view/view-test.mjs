// Draws the time view in headless Chromium (Debian's, never a downloaded
// browser) as a person would see it:
//  - the pages varnholt-query printed with --format html for summaries
//    (real answers on small databases, under a frozen clock) and the pages
//    of hand-made timesheet answers;
//  - the view that varnholt-mcp served from resources/read, inside a host
//    built with the official AppBridge, fed the tool's result with its
//    structured content, with the text item only, and as an error.
// Each drawing is checked against its answer's values: the day strips and
// their dates, one bar per session or span with its seconds, the tables and
// their totals, the verdict and what a budget left out; no script error, no
// request beyond the page, no markup from the answer's texts; tooltips on
// hover and on keyboard focus. Screenshots at 360 and 1,600 pixels in both
// themes are checked not blank and kept in <work>/screenshots.
//
// Usage: node view-test.mjs <work dir> (holding fixtures/ and host-bundle.js)

import fs from 'node:fs';
import path from 'node:path';
import process from 'node:process';
import { pathToFileURL } from 'node:url';

import { chromium } from 'playwright-core';

const [work] = process.argv.slice(2);
if (!work) {
  console.error('usage: node view-test.mjs <work dir>');
  process.exit(2);
}
const fixtures = path.join(work, 'fixtures');
const shots = path.join(work, 'screenshots');
fs.rmSync(shots, { recursive: true, force: true });
fs.mkdirSync(shots, { recursive: true });

let failures = 0;
let checks = 0;
let current = '';
function check(condition, what) {
  checks += 1;
  if (!condition) {
    failures += 1;
    console.error(`FAIL [${current}]: ${what}`);
  }
  return condition;
}
const same = (a, b) => JSON.stringify(a) === JSON.stringify(b);
const readJSON = (file) => JSON.parse(fs.readFileSync(file, 'utf8'));

// The strictest content security policy a host applies to a view that
// declares none, as some hosts inject it.
const kDefaultCSP = "default-src 'none'; script-src 'self' 'unsafe-inline'; style-src 'self' 'unsafe-inline'; " +
  "img-src 'self' data:; media-src 'self' data:; connect-src 'none'; object-src 'none'";

// What the drawing shows, read from the DOM of `frame`.
function readDrawing(frame) {
  return frame.evaluate(() => {
    const all = (selector, root = document) => [...root.querySelectorAll(selector)];
    const seconds = (node) => (node ? Number(node.dataset.seconds) : null);
    return {
      kind: document.getElementById('view').dataset.kind ?? null,
      days: all('.strip.day').map((strip) => ({ date: strip.dataset.date, state: strip.dataset.state,
        bars: all('.bar', strip).map((bar) => bar.dataset.session ?? `${bar.dataset.category}#${bar.dataset.span}`) })),
      sessionBars: all('.bar[data-session]').map((bar) => [Number(bar.dataset.session), seconds(bar)]),
      spanBars: all('.bar[data-span]').map((bar) => [bar.dataset.category, Number(bar.dataset.span), seconds(bar)]),
      applications: all('#applications tbody tr:not(.none)').map((row) => [row.querySelector('td.name')?.textContent.trim(),
        seconds(row.querySelector('td[data-seconds]'))]),
      summaryDays: all('#days tbody tr').map((row) => [row.dataset.date, seconds(row.querySelector('td[data-seconds]'))]),
      timesheetRows: all('#timesheet tbody tr').map((row) => [row.dataset.date,
        all('td[data-column]', row).map((cell) => [cell.dataset.column, seconds(cell)])]),
      timesheetTotals: all('#timesheet tfoot td[data-column]').map((cell) => [cell.dataset.column, seconds(cell)]),
      categories: all('#categories tbody tr').map((row) => [row.querySelector('bdi')?.textContent,
        seconds(row.querySelector('td[data-seconds]'))]),
      activeTotal: seconds(document.getElementById('active-total')),
      verdict: document.querySelector('.verdict')?.textContent ?? null,
      truncated: document.querySelector('.truncated')?.textContent ?? null,
      dropNotes: all('.strip .note').map((note) => note.textContent),
      highlights: all('#sessions td.desc li').map((item) => item.textContent),
      descriptionsLeftToRightOrAuto: all('#sessions td.desc li').every((item) => item.getAttribute('dir') === 'auto'),
      elements: { img: all('img').length, script: all('script').length, iframe: all('iframe').length,
        // Elements the answer's texts would have made, were they read as markup.
        fromTexts: all('#view b, #view i').filter((node) => /bold|italic/.test(node.textContent)).length },
      error: document.querySelector('[role=alert]')?.textContent ?? null,
      theme: document.documentElement.dataset.theme,
      background: getComputedStyle(document.documentElement).backgroundColor,
      overflow: document.documentElement.scrollWidth - document.documentElement.clientWidth,
      height: Math.ceil(document.documentElement.getBoundingClientRect().height),
      placeholder: document.querySelector('.placeholder')?.textContent ?? null,
    };
  });
}

// The drawing against the answer's own values and the fixture's
// expectations.
function checkDrawing(drawn, answer, expect) {
  const { data, meta } = answer;
  check(drawn.kind === (Array.isArray(data.categories) ? 'timesheet' : 'summary'), `kind ${drawn.kind}`);
  check(same(drawn.days.map((d) => d.date), expect.days), `days ${drawn.days.map((d) => d.date)}, want ${expect.days}`);
  check(same(drawn.days.filter((d) => d.state === 'empty').map((d) => d.date), expect.emptyDays),
    `empty days ${JSON.stringify(drawn.days.filter((d) => d.state === 'empty'))}, want ${expect.emptyDays}`);
  for (const day of drawn.days.filter((d) => d.state === 'empty')) check(day.bars.length === 0, `bars on empty ${day.date}`);
  check(drawn.activeTotal === data.active_seconds, `active ${drawn.activeTotal}, want ${data.active_seconds}`);
  check((drawn.verdict ?? null) === (data.coverage?.verdict ?? null), `verdict ${drawn.verdict}`);
  check((drawn.truncated !== null) === (meta.truncated === true), `truncated notice ${drawn.truncated}`);
  if (meta.truncated) {
    for (const [kind, n] of Object.entries(meta.omitted ?? {})) {
      if (n > 0) check(drawn.truncated.includes(`${n} ${kind.replace(/_/g, ' ')}`), `the notice names ${n} ${kind}: ${drawn.truncated}`);
    }
  }
  check(drawn.overflow <= 0, `the page is ${drawn.overflow} px wider than the window`);
  check(drawn.error === null && drawn.placeholder === null, `not drawn: ${drawn.error ?? drawn.placeholder}`);

  if (Array.isArray(data.categories)) {
    const groups = [...data.categories.map((c) => [c.name, c]), ['', data.uncategorized]];
    // One bar per span (two where a span passes midnight), each with its seconds.
    const wantSpans = groups.flatMap(([name, c]) => c.spans.map((s, i) => [name, i, s.seconds]));
    const drawnSpans = [...new Map(drawn.spanBars.map((b) => [`${b[0]}#${b[1]}`, b])).values()];
    check(same(drawnSpans.sort(), wantSpans.sort()), `spans ${JSON.stringify(drawnSpans)}, want ${JSON.stringify(wantSpans)}`);
    check(same(drawn.timesheetTotals, [...data.categories.map((c) => [c.name, c.seconds]),
      ['(uncategorized)', data.uncategorized.seconds], ['(total)', data.active_seconds]]),
    `timesheet totals ${JSON.stringify(drawn.timesheetTotals)}`);
    check(same(drawn.timesheetRows, data.days.map((day) => [day.date, [
      ...data.categories.map((c) => [c.name, day.categories.find((x) => x.name === c.name)?.seconds ?? 0]),
      ['(uncategorized)', day.uncategorized_seconds], ['(total)', day.active_seconds]]])),
    `timesheet rows ${JSON.stringify(drawn.timesheetRows)}`);
    check(same(drawn.categories, [...data.categories.map((c) => [c.name, c.seconds]), ['Uncategorized', data.uncategorized.seconds]]),
      `categories ${JSON.stringify(drawn.categories)}`);
    if (meta.truncated && meta.omitted?.spans > 0) {
      check(drawn.dropNotes.filter((n) => /Spans left out/.test(n)).length === expect.days.length - expect.emptyDays.length,
        `days whose spans were left out say so: ${drawn.dropNotes}`);
    }
  } else {
    const sessions = data.sessions ?? [];
    const drawnSessions = [...new Map(drawn.sessionBars.map((b) => [b[0], b])).values()];
    check(same(drawnSessions.sort((a, b) => a[0] - b[0]), sessions.map((s, i) => [i, s.active_seconds])),
      `sessions ${JSON.stringify(drawnSessions)}, want ${sessions.length}`);
    check(same(drawn.applications, data.applications.map((a) => [a.name, a.visible_seconds])),
      `applications ${JSON.stringify(drawn.applications)}`);
    check(same(drawn.highlights, sessions.flatMap((s) => s.highlights)), `highlights ${JSON.stringify(drawn.highlights)}`);
    check(same(drawn.summaryDays, (data.days ?? []).map((day) => [day.date, day.active_seconds])),
      `days table ${JSON.stringify(drawn.summaryDays)}`);
    check(drawn.descriptionsLeftToRightOrAuto, 'descriptions take their direction from their text');
    if (expect.crossesMidnight) {
      const twice = drawn.days.flatMap((d) => [...new Set(d.bars)]).filter((b, i, all) => all.indexOf(b) !== i);
      check(twice.length > 0, 'a session past midnight is drawn on both days');
    }
    if (meta.truncated && meta.omitted?.sessions > 0) {
      check(drawn.dropNotes.some((n) => /Sessions left out/.test(n)), `days without their sessions say so: ${drawn.dropNotes}`);
    }
  }
  if (expect.hostile) {
    check(drawn.highlights.some((h) => h.includes('</script><script>alert(1)</script>')), 'a </script> in a description is text');
    check(drawn.highlights.some((h) => h.includes('<b>bold</b> & <i>italic</i>')), 'markup in a description is text');
    check(drawn.applications.some(([name]) => name === '<img src=x onerror=alert(2)>'), 'markup in a name is text');
    check(drawn.elements.img === 0 && drawn.elements.fromTexts === 0, `elements made from texts: ${JSON.stringify(drawn.elements)}`);
  }
}

// A screenshot that shows something: many colours, and not one colour
// nearly everywhere.
async function checkNotBlank(page, file) {
  const png = fs.readFileSync(file).toString('base64');
  const facts = await page.evaluate(async (data) => {
    const image = new Image();
    image.src = `data:image/png;base64,${data}`;
    await image.decode();
    const canvas = document.createElement('canvas');
    canvas.width = image.width;
    canvas.height = image.height;
    const context = canvas.getContext('2d');
    context.drawImage(image, 0, 0);
    const pixels = context.getImageData(0, 0, image.width, image.height).data;
    const counts = new Map();
    for (let i = 0; i < pixels.length; i += 16) {
      const key = (pixels[i] >> 4) * 256 + (pixels[i + 1] >> 4) * 16 + (pixels[i + 2] >> 4);
      counts.set(key, (counts.get(key) ?? 0) + 1);
    }
    const most = Math.max(...counts.values());
    return { width: image.width, height: image.height, colours: counts.size, commonest: most / (pixels.length / 16) };
  }, png);
  check(facts.colours >= 12 && facts.commonest < 0.97, `${path.basename(file)} looks blank: ${JSON.stringify(facts)}`);
  return facts;
}

// Problems a page reports while it is drawn.
function watch(page) {
  const problems = [];
  page.on('console', (message) => {
    if (message.type() === 'error' || message.type() === 'warning') problems.push(`console ${message.type()}: ${message.text()}`);
  });
  page.on('pageerror', (error) => problems.push(`script error: ${error.message}`));
  page.on('dialog', (dialog) => { problems.push(`dialog: ${dialog.message()}`); dialog.dismiss(); });
  page.on('request', (request) => {
    if (!page.allowed?.has(request.url()) && !request.url().startsWith('data:') && request.url() !== 'about:srcdoc') {
      problems.push(`request: ${request.url()}`);
    }
  });
  return problems;
}

// Hovering a bar and reaching one with the keyboard both show its tooltip.
async function checkTooltips(page, frame) {
  const firstBar = frame.locator('.bar').first();
  if (await firstBar.count() === 0) return;
  await firstBar.hover();
  const hovered = await frame.evaluate(() => ({ hidden: document.getElementById('tip').hidden,
    text: document.getElementById('tip').textContent, label: document.querySelector('.bar').getAttribute('aria-label') }));
  check(!hovered.hidden && hovered.text.length > 0, `hovering a bar shows its tooltip: ${JSON.stringify(hovered)}`);
  await page.mouse.move(1, 1);
  await frame.locator('body').focus();
  let reached = false;
  for (let i = 0; i < 40 && !reached; i += 1) {
    await page.keyboard.press('Tab');
    reached = await frame.evaluate(() => document.activeElement?.classList.contains('bar') ?? false);
  }
  check(reached, 'the bars are reached with the keyboard');
  if (reached) {
    const focused = await frame.evaluate(() => ({ hidden: document.getElementById('tip').hidden,
      text: document.getElementById('tip').textContent }));
    check(!focused.hidden && focused.text.length > 0, 'a focused bar shows its tooltip');
    await page.keyboard.press('Escape');
    check(await frame.evaluate(() => document.getElementById('tip').hidden), 'Escape hides the tooltip');
  }
}

async function screenshots(page, name, frame, widths = [360, 1600]) {
  // As a person reading it would leave it: no bar focused, the sessions and
  // their highlights opened.
  await frame.evaluate(() => {
    document.activeElement?.blur();
    for (const details of document.querySelectorAll('details')) details.open = true;
  });
  for (const width of widths) {
    for (const theme of ['light', 'dark']) {
      await page.setViewportSize({ width, height: 900 });
      await page.emulateMedia({ colorScheme: theme });
      // The system's theme reaches the page as an event of its own.
      await frame.waitForFunction((t) => document.documentElement.dataset.theme === t, theme, { timeout: 5000 })
        .catch(() => {});
      const drawn = await readDrawing(frame);
      check(drawn.theme === theme, `${width} px ${theme}: the view is ${drawn.theme}`);
      check(drawn.overflow <= 0, `${width} px ${theme}: ${drawn.overflow} px wider than the window`);
      const file = path.join(shots, `${name}-${width}-${theme}.png`);
      await page.screenshot({ path: file, fullPage: true });
      await checkNotBlank(page, file);
    }
  }
}

async function checkPage(browser, fixture) {
  current = `page ${fixture.name}`;
  const answer = readJSON(path.join(fixtures, 'answers', `${fixture.name}.json`));
  const file = path.join(fixtures, 'pages', `${fixture.name}.html`);
  const html = fs.readFileSync(file, 'utf8');
  check(html.startsWith('<!DOCTYPE html>'), 'a page');
  const context = await browser.newContext({ viewport: { width: 1600, height: 900 }, locale: 'en-US', timezoneId: 'America/Los_Angeles' });
  const page = await context.newPage();
  page.allowed = new Set([pathToFileURL(file).href]);
  const problems = watch(page);
  await page.goto(pathToFileURL(file).href);
  const drawn = await readDrawing(page.mainFrame());
  checkDrawing(drawn, answer, fixture.expect);
  // The page holds exactly the JSON answer.
  const embedded = await page.evaluate(() => JSON.parse(document.getElementById('varnholt-answer').textContent));
  check(same(embedded, answer), 'the embedded document is the JSON answer');
  check(drawn.elements.script === 2, `scripts ${drawn.elements.script}`);
  await checkTooltips(page, page.mainFrame());
  await screenshots(page, fixture.name, page.mainFrame());
  check(problems.length === 0, problems.join('; '));
  await context.close();
}

// The view inside a host: handshake, the result, the size, the theme.
async function checkApp(browser, bundle, view, { name, result, answer, expect, theme, textOnly }) {
  current = `MCP App ${name}${textOnly ? ', text only' : ''}, ${theme}`;
  const context = await browser.newContext({ viewport: { width: 1100, height: 900 }, locale: 'en-US' });
  const page = await context.newPage();
  const hostFile = path.join(work, 'host.html');
  fs.writeFileSync(hostFile, `<!DOCTYPE html><html><head><meta charset="utf-8"><title>host</title></head>` +
    `<body style="margin:0;padding:8px;background:#777"><div id="host"></div><script>${bundle}</script></body></html>`);
  page.allowed = new Set([pathToFileURL(hostFile).href]);
  const problems = watch(page);
  await page.goto(pathToFileURL(hostFile).href);
  const delivered = JSON.parse(JSON.stringify(result));
  if (textOnly) delete delivered.structuredContent;
  const html = view.text.replace('<head>', `<head><meta http-equiv="Content-Security-Policy" content="${kDefaultCSP}">`);
  check(html !== view.text, 'the policy is in the view');
  await page.evaluate(({ html: h, result: r, theme: t }) => {
    return window.showView({ html: h, result: r, hostContext: { theme: t, locale: 'en-US', platform: 'web',
      displayMode: 'inline', availableDisplayModes: ['inline'], containerDimensions: { maxHeight: 4000 } } });
  }, { html, result: delivered, theme });
  const frame = page.frames().find((f) => f !== page.mainFrame());
  // The frame is blank until the view arrives in it.
  await frame.waitForFunction(() => document.getElementById('view')?.dataset.kind || document.querySelector('[role=alert]'),
    null, { timeout: 10000 });
  const drawn = await readDrawing(frame);
  check(drawn.theme === theme, `the host's theme ${theme}, the view's ${drawn.theme}`);
  if (expect) {
    checkDrawing(drawn, answer, expect);
  } else {
    check(drawn.error?.includes(answer.error.code) && drawn.error.includes(answer.error.message),
      `the error is shown: ${drawn.error}`);
  }
  await page.waitForFunction(() => window.hostLog.some(([what, h]) => what === 'size-changed' && h > 100), null, { timeout: 5000 })
    .catch(() => {});
  const log = await page.evaluate(() => window.hostLog);
  check(log[0]?.[0] === 'initialized' && log[0][1] === 'varnholt-time-view', `handshake ${JSON.stringify(log[0])}`);
  const sizes = log.filter(([what]) => what === 'size-changed').map(([, h]) => h);
  check(sizes.length > 0 && Math.abs(sizes.at(-1) - drawn.height) <= 1, `sizes ${sizes}, drawn ${drawn.height}`);
  const frameHeight = await page.evaluate(() => document.querySelector('iframe').getBoundingClientRect().height);
  check(frameHeight >= drawn.height, `the frame is ${frameHeight} px for ${drawn.height} px`);
  if (expect) await checkTooltips(page, frame);
  // The host changes its theme: the view follows.
  const other = theme === 'dark' ? 'light' : 'dark';
  await page.evaluate((t) => window.bridge.sendHostContextChange({ theme: t }), other);
  await frame.waitForFunction((t) => document.documentElement.dataset.theme === t, other, { timeout: 5000 })
    .catch(() => check(false, `the view did not follow the host to ${other}`));
  await page.evaluate((t) => window.bridge.sendHostContextChange({ theme: t }), theme);
  await frame.waitForFunction((t) => document.documentElement.dataset.theme === t, theme, { timeout: 5000 })
    .catch(() => check(false, `the view did not follow the host back to ${theme}`));
  await frame.evaluate(() => document.activeElement?.blur());
  // A frame of another origin is drawn only within the window, so the window
  // grows to the page rather than the screenshot stitching it.
  const hostHeight = await page.evaluate(() => document.documentElement.scrollHeight);
  await page.setViewportSize({ width: 1100, height: Math.min(hostHeight, 8000) });
  const shot = path.join(shots, `app-${name}${textOnly ? '-text' : ''}-${theme}.png`);
  await page.screenshot({ path: shot });
  await checkNotBlank(page, shot);
  check(problems.length === 0, problems.join('; '));
  await context.close();
}

async function main() {
  const manifest = readJSON(path.join(fixtures, 'fixtures.json'));
  const bundle = fs.readFileSync(path.join(work, 'host-bundle.js'), 'utf8');
  const view = readJSON(path.join(fixtures, 'mcp', 'view.json'));
  const browser = await chromium.launch({
    executablePath: '/usr/bin/chromium',
    args: ['--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run', '--disable-background-networking',
      '--disable-component-update', '--disable-sync'],
  });
  try {
    current = 'the served view';
    check(view.mimeType === 'text/html;profile=mcp-app' && /^ui:\/\/varnholt\/time-view-[0-9a-f]{16}\.html$/.test(view.uri),
      `resource ${view.uri} ${view.mimeType}`);
    const page = fs.readFileSync(path.join(fixtures, 'pages', 'summary-day.html'), 'utf8');
    const element = '<script type="application/json" id="varnholt-answer">';
    const start = page.indexOf(element) + element.length;
    check(page.slice(0, start) + page.slice(page.indexOf('</script>', start)) === view.text,
      'the command line\'s page is the served view with the answer in it');

    for (const fixture of manifest) {
      try {
        await checkPage(browser, fixture);
      } catch (error) {
        check(false, `stopped: ${error.stack ?? error}`);
      }
    }
    const apps = [
      ['summary-week', 'dark', false], ['summary-week', 'light', true], ['summary-day', 'light', false],
      ['timesheet-three-categories', 'light', false], ['timesheet-three-categories', 'dark', true]];
    for (const [name, theme, textOnly] of apps) {
      const fixture = manifest.find((f) => f.name === name);
      try {
        await checkApp(browser, bundle, view, { name, theme, textOnly, expect: fixture.expect,
          result: readJSON(path.join(fixtures, 'mcp', `${name}.json`)),
          answer: readJSON(path.join(fixtures, 'answers', `${name}.json`)) });
      } catch (error) {
        check(false, `stopped: ${error.stack ?? error}`);
      }
    }
    const failed = readJSON(path.join(fixtures, 'mcp', 'summary-error.json'));
    try {
      await checkApp(browser, bundle, view, { name: 'summary-error', theme: 'dark', textOnly: true, result: failed,
        answer: failed.structuredContent, expect: null });
    } catch (error) {
      check(false, `stopped: ${error.stack ?? error}`);
    }
  } finally {
    await browser.close();
  }
  console.log(`Screenshots: ${shots}`);
  console.log(`${checks} checks, ${failures} failed`);
  console.log(`${checks - failures} passed, ${failures} failed`);
  process.exit(failures === 0 ? 0 : 1);
}

main().catch((error) => {
  console.error(error);
  process.exit(1);
});
