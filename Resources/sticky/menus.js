// The two pop-over menus, and the width of the button group they hang from.

function openMenu(menu, button) {
  const wasOpen = !menu.hidden;
  closeMenus();
  if (wasOpen) return;
  if (menu === snoozeMenu) buildSnoozeMenu();
  menu.hidden = false;
  button.classList.add("open");
}

function closeMenus() {
  for (const menu of [colorMenu, snoozeMenu]) menu.hidden = true;
  colorButton.classList.remove("open");
  snoozeButton.classList.remove("open");
}

// The app tells a press on the drag strip from one on the buttons by this width.
function reportBarWidth() {
  const width = Math.ceil(note.getBoundingClientRect().right - buttons.getBoundingClientRect().left);
  if (width <= 0 || width === lastBarWidth) return;
  lastBarWidth = width;
  post({ t: "bar", w: width });
}
