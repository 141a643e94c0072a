// The snooze menu: its choices, and the date and time picker.

function snoozeUntil(when) {
  closeMenus();
  const now = new Date();
  post({ t: "snooze", at: when.getTime(), label: whenLabel(when, now) });
}

function buildSnoozeMenu() {
  const now = new Date();
  const list = $("snoozeChoices");
  list.replaceChildren();
  for (const choice of snoozeChoices(now)) {
    const item = document.createElement("button");
    item.type = "button";
    item.className = "menu-item";
    item.setAttribute("role", "menuitem");
    const title = document.createElement("span");
    title.textContent = choice.title;
    const hint = document.createElement("span");
    hint.className = "hint";
    hint.textContent = choice.hint;
    item.append(title, hint);
    item.addEventListener("click", () => snoozeUntil(choice.when));
    list.append(item);
  }
  const pick = document.createElement("button");
  pick.type = "button";
  pick.className = "menu-item";
  pick.setAttribute("role", "menuitem");
  pick.textContent = "Pick a date and time\u2026";
  pick.addEventListener("click", openPicker);
  list.append(pick);
  list.hidden = false;
  $("picker").hidden = true;
  $("pickError").hidden = true;
}

// The date and time fields are made the first time they are needed: each one
// costs every note a good part of its memory while it only waits.
function pickerFields() {
  let date = $("pickDate");
  if (date) return [date, $("pickTime")];
  date = document.createElement("input");
  date.className = "date";
  date.id = "pickDate";
  date.type = "date";
  date.setAttribute("aria-label", "Date");
  const time = document.createElement("input");
  time.id = "pickTime";
  time.type = "time";
  time.setAttribute("aria-label", "Time");
  for (const input of [date, time]) {
    input.addEventListener("keydown", (event) => {
      if (event.key === "Enter") { event.preventDefault(); submitPicker(); }
    });
    input.addEventListener("input", () => { $("pickError").hidden = true; });
  }
  $("picker").prepend(date, time);
  return [date, time];
}

function openPicker() {
  const [date, time] = pickerFields();
  const start = pickerStart(new Date());
  date.value = dateFieldText(start);
  time.value = `${pad(start.getHours())}:00`;
  $("snoozeChoices").hidden = true;
  $("picker").hidden = false;
  date.focus();
}

function pickedTime() {
  const [dateField, timeField] = pickerFields();
  return pickedWhen(dateField.value, timeField.value);
}

function submitPicker() {
  const when = pickedTime();
  if (!when || when.getTime() <= Date.now()) {
    $("pickError").hidden = false;
    return;
  }
  snoozeUntil(when);
}
