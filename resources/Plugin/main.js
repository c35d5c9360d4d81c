// Panel logic of the sample plug-in: reports the active document's name.
const { app } = require("photoshop");

document.addEventListener("DOMContentLoaded", () => {
  document.getElementById("run").addEventListener("click", () => {
    const doc = app.activeDocument;
    document.getElementById("status").textContent = doc ? `Dokument: ${doc.name}` : "Kein Dokument offen.";
  });
});
