// Wake times for the snooze menu and the words for them. Nothing here reads
// the page or the clock: `now` is always given.

const DAY_NAMES = ["Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday"];
const MONTH_NAMES = ["Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"];
const HOUR_MS = 3600000;

const pad = (n) => String(n).padStart(2, "0");
const clock = (d) => `${d.getHours()}:${pad(d.getMinutes())}`;

function atHour(base, daysAhead, hour) {
  return new Date(base.getFullYear(), base.getMonth(), base.getDate() + daysAhead, hour, 0, 0, 0);
}

function calendarDaysBetween(from, to) {
  const a = Date.UTC(from.getFullYear(), from.getMonth(), from.getDate());
  const b = Date.UTC(to.getFullYear(), to.getMonth(), to.getDate());
  return Math.round((b - a) / 86400000);
}

// The words for a wake time, as they read after "Snoozed until ".
function whenLabel(when, now) {
  const days = calendarDaysBetween(now, when);
  if (days === 0) return clock(when);
  if (days === 1) return `tomorrow ${clock(when)}`;
  if (days > 1 && days < 7) return `${DAY_NAMES[when.getDay()]} ${clock(when)}`;
  const year = when.getFullYear() === now.getFullYear() ? "" : ` ${when.getFullYear()}`;
  return `${DAY_NAMES[when.getDay()].slice(0, 3)} ${when.getDate()} ${MONTH_NAMES[when.getMonth()]}${year} ${clock(when)}`;
}

function snoozeChoices(now) {
  const choices = [];
  const inAnHour = new Date(now.getTime() + HOUR_MS);
  choices.push({ title: "In 1 hour", hint: clock(inAnHour), when: inAnHour });
  const evening = atHour(now, 0, 18);
  if (evening > now) choices.push({ title: "This evening", hint: clock(evening), when: evening });
  const tomorrow = atHour(now, 1, 9);
  choices.push({ title: "Tomorrow morning", hint: `${DAY_NAMES[tomorrow.getDay()].slice(0, 3)} ${clock(tomorrow)}`, when: tomorrow });
  const daysToMonday = (8 - now.getDay()) % 7 || 7;
  const monday = atHour(now, daysToMonday, 9);
  if (daysToMonday > 1) {
    choices.push({ title: "Next Monday", hint: `${monday.getDate()} ${MONTH_NAMES[monday.getMonth()]}`, when: monday });
  }
  return choices;
}

// Where the picker starts: the top of the hour two hours on (at 14:20, 16:00).
function pickerStart(now) {
  const start = new Date(now.getTime() + HOUR_MS);
  start.setMinutes(0, 0, 0);
  start.setHours(start.getHours() + 1);
  return start;
}

// A date as a date field holds it: 2026-11-24.
function dateFieldText(day) {
  return `${day.getFullYear()}-${pad(day.getMonth() + 1)}-${pad(day.getDate())}`;
}

// The local time a date field and a time field name; null when either is
// incomplete or names no real time.
function pickedWhen(dateText, timeText) {
  const date = /^(\d{4})-(\d{2})-(\d{2})$/.exec(dateText);
  const time = /^(\d{1,2}):(\d{2})/.exec(timeText);
  if (!date || !time) return null;
  const when = new Date(Number(date[1]), Number(date[2]) - 1, Number(date[3]), Number(time[1]), Number(time[2]), 0, 0);
  return Number.isNaN(when.getTime()) ? null : when;
}
