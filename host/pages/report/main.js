// Puts the page together.

const name = result.model.name || result.model.library;
document.title = `${name}: ${data.signal}`;
document.getElementById("title").textContent = name;
document.getElementById("signal").textContent =
  `${data.signal}; ${short(result.signal.bit_rate / 1e9, 8)} ${result.signal.modulation ? "GBd" : "Gbit/s"}, ${result.signal.samples_per_bit} samples a bit, ${grouped(result.bits)} ${result.signal.modulation ? "symbols" : "bits"}`;
document.getElementById("footer").textContent = `amisim ${result.amisim}. Drag across a plot to enlarge a part of it, double-click to see all of it.`;

const notes = result.messages.length
  ? element("ul", {class: "notes", "aria-label": "Notes"}, ...result.messages.map((text) => element("li", {}, text))) : null;
document.getElementById("report").append(...[verdict(), tiles(), notes, chainSection(), eyeSection(), bathtubSection(), clockSection(),
  channelSection(), adaptationSection(), parametersSection(), loggedEyesSection(), settingsSection()].filter(Boolean));
for (const plot of plots) plot.place();
watchTheme();
window.amisimPlots = plots;  // for whoever scripts the page
