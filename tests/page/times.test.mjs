import assert from "node:assert/strict";
import { describe, test } from "node:test";
import { loadPart } from "./loadPart.mjs";

const { snoozeChoices, whenLabel, pickerStart, dateFieldText, pickedWhen } = loadPart("times.js", [
  "snoozeChoices", "whenLabel", "pickerStart", "dateFieldText", "pickedWhen",
]);

// Local times, so the tests read the same in every time zone.
const at = (year, month, day, hour, minute = 0) => new Date(year, month - 1, day, hour, minute, 0, 0);
const titles = (choices) => choices.map((c) => c.title);

describe("snooze choices", () => {
  test("on a Tuesday afternoon: an hour, this evening, tomorrow morning and next Monday", () => {
    const now = at(2026, 11, 24, 14, 5);   // a Tuesday
    const choices = snoozeChoices(now);
    assert.deepEqual(titles(choices), ["In 1 hour", "This evening", "Tomorrow morning", "Next Monday"]);
    assert.deepEqual(choices.map((c) => c.hint), ["15:05", "18:00", "Wed 9:00", "30 Nov"]);
    assert.deepEqual(choices.map((c) => c.when.getTime()), [
      at(2026, 11, 24, 15, 5).getTime(),
      at(2026, 11, 24, 18).getTime(),
      at(2026, 11, 25, 9).getTime(),
      at(2026, 11, 30, 9).getTime(),
    ]);
  });

  test("from six in the evening on, there is no evening left to offer", () => {
    assert.deepEqual(titles(snoozeChoices(at(2026, 11, 24, 18))), ["In 1 hour", "Tomorrow morning", "Next Monday"]);
    assert.equal(titles(snoozeChoices(at(2026, 11, 24, 17, 59))).includes("This evening"), true);
  });

  test("on a Sunday, next Monday is tomorrow morning, so it is offered once", () => {
    const choices = snoozeChoices(at(2026, 11, 29, 10));   // a Sunday
    assert.deepEqual(titles(choices), ["In 1 hour", "This evening", "Tomorrow morning"]);
    assert.equal(choices[2].hint, "Mon 9:00");
  });

  test("on a Monday, next Monday is a week ahead", () => {
    const monday = snoozeChoices(at(2026, 11, 30, 8)).at(-1);
    assert.equal(monday.title, "Next Monday");
    assert.equal(monday.when.getTime(), at(2026, 12, 7, 9).getTime());
    assert.equal(monday.hint, "7 Dec");
  });

  test("late in the evening, an hour on is tomorrow", () => {
    const hour = snoozeChoices(at(2026, 12, 31, 23, 30))[0];
    assert.equal(hour.when.getTime(), at(2027, 1, 1, 0, 30).getTime());
    assert.equal(hour.hint, "0:30");
  });
});

describe("the words for a wake time", () => {
  const now = at(2026, 11, 24, 14, 5);   // a Tuesday

  test("today is the time alone", () => {
    assert.equal(whenLabel(at(2026, 11, 24, 18), now), "18:00");
    assert.equal(whenLabel(at(2026, 11, 24, 9, 7), now), "9:07");
  });

  test("tomorrow says so", () => {
    assert.equal(whenLabel(at(2026, 11, 25, 9), now), "tomorrow 9:00");
  });

  test("within the week, the day's name", () => {
    assert.equal(whenLabel(at(2026, 11, 26, 9), now), "Thursday 9:00");
    assert.equal(whenLabel(at(2026, 11, 30, 9), now), "Monday 9:00");
  });

  test("a week or more ahead, the date; in another year, the year too", () => {
    assert.equal(whenLabel(at(2026, 12, 1, 9), now), "Tue 1 Dec 9:00");
    assert.equal(whenLabel(at(2027, 1, 4, 16, 30), now), "Mon 4 Jan 2027 16:30");
  });

  test("days are counted by the calendar, not by 24 hours", () => {
    assert.equal(whenLabel(at(2026, 11, 25, 0, 10), at(2026, 11, 24, 23, 50)), "tomorrow 0:10");
  });
});

describe("the date and time picker", () => {
  test("starts at the top of the hour two hours on", () => {
    assert.equal(pickerStart(at(2026, 11, 24, 14, 20)).getTime(), at(2026, 11, 24, 16).getTime());
    assert.equal(pickerStart(at(2026, 11, 24, 14, 0)).getTime(), at(2026, 11, 24, 16).getTime());
    assert.equal(pickerStart(at(2026, 12, 31, 22, 45)).getTime(), at(2027, 1, 1, 0).getTime());
  });

  test("writes dates as a date field holds them", () => {
    assert.equal(dateFieldText(at(2026, 3, 7, 9)), "2026-03-07");
  });

  test("reads the local time its fields name", () => {
    assert.equal(pickedWhen("2026-11-25", "07:30").getTime(), at(2026, 11, 25, 7, 30).getTime());
    assert.equal(pickedWhen("2026-11-25", "7:30").getTime(), at(2026, 11, 25, 7, 30).getTime());
  });

  test("an empty or half-typed field is no time", () => {
    assert.equal(pickedWhen("", "07:30"), null);
    assert.equal(pickedWhen("2026-11-25", ""), null);
    assert.equal(pickedWhen("2026-11", "07:30"), null);
    assert.equal(pickedWhen("2026-11-25", "07"), null);
  });
});
