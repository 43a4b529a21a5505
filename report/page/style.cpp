#include "report/page/style.h"

namespace report {

void write_style(Markup& out, const std::string& identification) {
  out.open("style").literal(R"(
:root{color-scheme:light}
*{box-sizing:border-box}
body{margin:0 auto;max-width:62rem;padding:1rem;font:15px/1.45 "Liberation Sans",Arial,Helvetica,sans-serif;color:#111;background:#fff;overflow-wrap:anywhere}
h1{font-size:1.7rem;line-height:1.2;margin:.2em 0 .6em}
h2{font-size:1.25rem;margin:1.6em 0 .5em;border-top:2px solid #111;padding-top:.6em}
h3{font-size:1rem;margin:1.2em 0 .3em}
dl{display:grid;grid-template-columns:minmax(9rem,15rem) 1fr;gap:.15rem 1rem;margin:.5em 0}
dt{color:#333}dd{margin:0;font-weight:600}
.scroll{overflow-x:auto}
table{border-collapse:collapse;width:100%;font-size:.87rem;font-variant-numeric:tabular-nums}
th,td{border:1px solid #888;padding:.22em .45em;text-align:left;vertical-align:top;overflow-wrap:normal}
th{background:#eee;font-weight:600}
td.n,th.n{text-align:right;white-space:nowrap}
td.v{font-weight:700;white-space:nowrap}
.w{overflow-wrap:anywhere}
figure{margin:1em 0;break-inside:avoid}
svg{display:block;width:100%;max-width:44rem;height:auto;font:13px "Liberation Sans",Arial,Helvetica,sans-serif}
svg .h{font-weight:700;font-size:15px}svg .m{text-anchor:middle}svg .e{text-anchor:end}
svg .a{fill:none;stroke:#111;stroke-width:1.4}svg .g{fill:none;stroke:#ccc}
svg .l{fill:none;stroke:#b00020;stroke-width:1.6;stroke-dasharray:8 4}
)");
  // Symbols are hollow and lines have dashes of their own, so that nothing depends on colour.
  out.literal(R"(.s0,.s1,.s2,.s3,.s4,.s5{fill:#fff;fill-opacity:.6;stroke-width:1.6}
.c0,.c1,.c2,.c3,.c4,.c5{fill:none;stroke-width:1.6}
.b0,.b1,.b2,.b3,.b4,.b5{fill-opacity:.55;stroke-width:1.4}
.s0,.c0,.b0{stroke:#0b4f9c}.b0{fill:#0b4f9c}
.s1,.c1,.b1{stroke:#a33b00}.c1{stroke-dasharray:7 3}.b1{fill:#f3d9c9;stroke-dasharray:4 2}
.s2,.c2,.b2{stroke:#1d6b2f}.c2{stroke-dasharray:2 3}.b2{fill:#1d6b2f;fill-opacity:.2}
.s3,.c3,.b3{stroke:#6a2c91}.c3{stroke-dasharray:9 3 2 3}.b3{fill:#6a2c91}
.s4,.c4,.b4{stroke:#7a5c00}.c4{stroke-dasharray:4 2}.b4{fill:#fff}
.s5,.c5,.b5{stroke:#444}.c5{stroke-dasharray:1 2}.b5{fill:#444}
details{margin:.3em 0 1em;font-size:.85rem}
summary{cursor:pointer}
pre{overflow-x:auto;border:1px solid #888;padding:.5em;margin:.3em 0;white-space:pre;overflow-wrap:normal}
.sign{display:grid;grid-template-columns:repeat(auto-fit,minmax(14rem,1fr));gap:2rem;margin-top:3.5rem;break-inside:avoid}
.sign div{border-top:1px solid #111;padding-top:.3rem}
@media (max-width:34rem){dl{grid-template-columns:1fr}dd{margin-bottom:.4em}table{font-size:.78rem}}
@media print{
*{print-color-adjust:exact;-webkit-print-color-adjust:exact}
body{max-width:none;padding:0;font-size:9.5pt}
h2{break-after:avoid}h3{break-after:avoid}
.scroll{overflow:visible}
table{font-size:7.4pt}th,td{padding:.12em .28em}td.n,th.n,td.v{white-space:normal}
td.n{overflow-wrap:anywhere}
thead{display:table-header-group}tr{break-inside:avoid}
details{display:none}
svg{max-width:15cm}
a{color:inherit;text-decoration:none}
}
)");
  // Only digits and letters: the identification is computed, never a text of a record.
  out.literal("@page{margin:18mm 14mm 18mm;@top-left{font:8pt Arial,sans-serif;content:\"Report ")
      .text(identification)
      .literal(
          "\"}@bottom-right{font:8pt Arial,sans-serif;content:\"page \" counter(page) \" of \" "
          "counter(pages)}}\n")
      .close()
      .line_end();
}

}  // namespace report
