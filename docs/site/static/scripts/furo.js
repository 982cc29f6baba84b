// In place of the theme's script, which as Debian packages it is a module that pages load as a plain script. The colours
// are the system's until the button at the top chooses others, which the browser remembers.

const themes = ["light", "dark"];

function show(theme) {
  document.body.dataset.theme = theme;
}

function systemTheme() {
  return themes[Number(window.matchMedia("(prefers-color-scheme: dark)").matches)];
}

function toggle() {
  const other = themes[1 - themes.indexOf(document.body.dataset.theme)];
  localStorage.setItem("theme", other);
  show(other);
}

document.addEventListener("DOMContentLoaded", () => {
  document.documentElement.classList.remove("no-js");
  show(themes.includes(localStorage.getItem("theme")) ? localStorage.getItem("theme") : systemTheme());
  for (const button of document.getElementsByClassName("theme-toggle")) button.addEventListener("click", toggle);
});
