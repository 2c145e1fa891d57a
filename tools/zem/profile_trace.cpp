// JSON, trace-event and HTML output of `zem profile`. Times in the trace are
// microseconds written with three decimals, so that every span's bounds are
// the exact nanoseconds measured and children stay inside their parents.
#include "profile_trace.h"

#include <sstream>

#include "cli.h"

namespace zemcli {

namespace {

const char* OutcomeName(ZEM::EBeanRequestOutcome outcome) {
    switch (outcome) {
        case ZEM::EBeanRequestOutcome::Made: return "made";
        case ZEM::EBeanRequestOutcome::Found: return "found";
        case ZEM::EBeanRequestOutcome::Failed: return "failed";
    }
    return "failed";
}

std::string Microseconds(std::int64_t nanoseconds) {
    std::string fraction = std::to_string(nanoseconds % 1000);
    fraction.insert(0, 3 - fraction.size(), '0');
    return std::to_string(nanoseconds / 1000) + "." + fraction;
}

}  // namespace

void WriteProfileJson(std::ostream& out, const std::vector<SProfiledLoad>& loads) {
    out << "{\"loads\": [";
    for (std::size_t l = 0; l < loads.size(); ++l) {
        const SProfiledLoad& load = loads[l];
        out << (l != 0 ? "," : "") << "\n  {\"file\": " << JsonString(load.file)
            << ", \"ok\": " << (load.loaded ? "true" : "false");
        auto diagnostics = [&out](const std::vector<SDiagnostic>& told) {
            out << ", \"diagnostics\": [";
            for (std::size_t d = 0; d < told.size(); ++d) out << (d != 0 ? ", " : "") << DiagnosticJson(told[d]);
            out << "]}";
        };
        if (!load.loaded) {
            out << ", \"error\": " << JsonString(load.error);
            diagnostics(load.failure);
            continue;
        }
        out << ", \"total_ns\": " << load.total << ", \"rows\": [";
        const std::vector<SProfileRow> rows = Summarize(load.spans);
        for (std::size_t r = 0; r < rows.size(); ++r) {
            const SProfileRow& row = rows[r];
            out << (r != 0 ? "," : "") << "\n    {\"name\": " << JsonString(row.name)
                << ", \"kind\": " << (row.step ? "\"step\"" : "\"bean\"") << ", \"self_ns\": " << row.self
                << ", \"total_ns\": " << row.total;
            if (!row.step) {
                out << ", \"made\": " << row.made << ", \"requests\": " << row.requests << ", \"failed\": " << row.failed;
                if (row.failed != 0) out << ", \"reason\": " << JsonString(row.reason);
            }
            out << "}";
        }
        out << "]";
        diagnostics(load.dropped);
    }
    out << "\n]}\n";
}

void WriteTrace(std::ostream& out, const std::vector<SProfiledLoad>& loads) {
    out << "{\"displayTimeUnit\": \"ms\", \"traceEvents\": [";
    bool first = true;
    auto next = [&]() -> std::ostream& {
        out << (first ? "\n" : ",\n");
        first = false;
        return out;
    };
    for (std::size_t l = 0; l < loads.size(); ++l) {
        const SProfiledLoad& load = loads[l];
        const std::size_t pid = l + 1;
        next() << "{\"name\": \"process_name\", \"ph\": \"M\", \"pid\": " << pid
               << ", \"tid\": 0, \"args\": {\"name\": " << JsonString("zem profile " + load.file) << "}}";
        std::uint32_t threads = 0;
        for (const SSpan& span : load.spans) {
            if (span.thread <= threads) continue;
            threads = span.thread;
            next() << "{\"name\": \"thread_name\", \"ph\": \"M\", \"pid\": " << pid << ", \"tid\": " << span.thread
                   << ", \"args\": {\"name\": \"thread " << span.thread << "\"}}";
        }
        for (const SSpan& span : load.spans) {
            std::ostream& event = next();
            event << "{\"name\": " << JsonString(span.name) << ", \"cat\": \"" << (span.step ? "load" : "bean")
                  << "\", \"ph\": \"X\", \"ts\": " << Microseconds(span.start)
                  << ", \"dur\": " << Microseconds(span.Duration()) << ", \"pid\": " << pid
                  << ", \"tid\": " << span.thread << ", \"args\": {\"depth\": " << span.depth
                  << ", \"self_us\": " << Microseconds(span.Self());
            if (!span.step) {
                event << ", \"library\": " << (span.library.empty() ? "null" : JsonString(span.library))
                      << ", \"singleton\": " << (span.singleton ? "true" : "false") << ", \"outcome\": \""
                      << OutcomeName(span.outcome) << "\"";
                if (span.outcome == ZEM::EBeanRequestOutcome::Failed) event << ", \"reason\": " << JsonString(span.reason);
            }
            event << "}}";
        }
    }
    out << "\n]}\n";
}

namespace {

// The drawing: one section per load, one band per thread, one row per depth;
// a bar's width is its time. Bean bars are coloured by name, steps grey,
// failures red, as the legend says. A bar too narrow for its name has it
// beside it where the row leaves room, and every bar a tooltip; a table of
// every bean follows each chart. The body's data-bars tells how many bars
// were drawn.
constexpr const char* kPageHead = R"(<!DOCTYPE html>
<html><head><meta charset="utf-8"><title>zem profile</title>
<style>
body { font: 13px sans-serif; margin: 16px; background: #fff; color: #222; }
h2 { font-size: 15px; margin: 18px 0 4px; }
svg text { font: 11px sans-serif; pointer-events: none; }
.axis text { fill: #555; }
.legend span { display: inline-block; margin-right: 14px; }
.legend i { display: inline-block; width: 12px; height: 12px; margin-right: 4px; vertical-align: -2px; }
table { border-collapse: collapse; margin: 6px 0 12px; }
td, th { padding: 1px 8px; text-align: right; font-variant-numeric: tabular-nums; }
td:first-child, th:first-child, td:last-child, th:last-child { text-align: left; }
tr.failed td { color: #b00; }
</style></head>
<body data-bars="0">
<h1 style="font-size:17px">zem profile: where the time of the load went</h1>
<div class="legend"><span><i style='background:hsl(200,55%,68%)'></i>a bean being made (a colour per name)</span>
<span><i style='background:hsl(200,55%,85%)'></i>a singleton found made</span>
<span><i style="background:#c9c9c9"></i>a step of the load</span>
<span><i style="background:#e06666"></i>a request that failed</span>
<span>width: time; below a bar: what it asked for</span></div>
<script id="trace" type="application/json">
)";

constexpr const char* kPageTail = R"(</script>
<script>
(function () {
  const NS = 'http://www.w3.org/2000/svg';
  const trace = JSON.parse(document.getElementById('trace').textContent);
  const events = trace.traceEvents.filter(e => e.ph === 'X');
  const names = {};
  trace.traceEvents.filter(e => e.ph === 'M' && e.name === 'process_name').forEach(e => names[e.pid] = e.args.name);
  const width = Math.max(600, window.innerWidth - 100), rowHeight = 20, bandGap = 10;
  function el(tag, attrs, parent) {
    const node = document.createElementNS(NS, tag);
    for (const key in attrs) node.setAttribute(key, attrs[key]);
    parent.appendChild(node);
    return node;
  }
  function colour(e) {
    if (e.args.outcome === 'failed') return '#e06666';
    if (e.cat === 'load') return '#c9c9c9';
    let hash = 0;
    for (const c of e.name) hash = (hash * 31 + c.charCodeAt(0)) >>> 0;
    return 'hsl(' + (hash % 360) + ',55%,' + (e.args.outcome === 'found' ? '85%' : '68%') + ')';
  }
  let bars = 0;
  [...new Set(events.map(e => e.pid))].forEach(pid => {
    const own = events.filter(e => e.pid === pid);
    const start = Math.min(...own.map(e => e.ts)), end = Math.max(...own.map(e => e.ts + e.dur));
    const scale = width / Math.max(end - start, 1);
    const tids = [...new Set(own.map(e => e.tid))].sort((a, b) => a - b);
    const h2 = document.createElement('h2');
    h2.textContent = (names[pid] || ('load ' + pid)) + ': ' + ((end - start) / 1000).toFixed(3) + ' ms';
    document.body.appendChild(h2);
    let top = 22;
    const offsets = {};
    tids.forEach(tid => {
      offsets[tid] = top;
      top += (Math.max(...own.filter(e => e.tid === tid).map(e => e.args.depth)) + 1) * rowHeight + bandGap;
    });
    // Room on the right for the last tick's label.
    const svg = el('svg', {width: width + 60, height: top}, document.body);
    const axis = el('g', {class: 'axis'}, svg);
    // Ticks 1, 2 or 5 times a power of ten apart, ten at most.
    const range = Math.max(end - start, 1), unit = Math.pow(10, Math.floor(Math.log10(range / 10)));
    const step = [1, 2, 5, 10].map(m => m * unit).find(s => range / s <= 10);
    for (let t = 0; t <= end - start; t += step) {
      el('line', {x1: t * scale, x2: t * scale, y1: 14, y2: top, stroke: '#eee'}, axis);
      el('text', {x: t * scale + 2, y: 11}, axis).textContent = (t / 1000) + ' ms';
    }
    // Where the next bar of the same row starts, so that a short bar's name
    // can stand beside it without running into that bar.
    const rowKey = e => e.tid + '/' + e.args.depth;
    const rows = {};
    own.forEach(e => (rows[rowKey(e)] = rows[rowKey(e)] || []).push(e));
    const next = new Map();
    Object.values(rows).forEach(row => {
      row.sort((a, b) => a.ts - b.ts);
      row.forEach((e, i) => next.set(e, i + 1 < row.length ? (row[i + 1].ts - start) * scale : width + 60));
    });
    own.forEach(e => {
      const x = (e.ts - start) * scale, w = Math.max(e.dur * scale, 2), y = offsets[e.tid] + e.args.depth * rowHeight;
      const g = el('g', {class: 'bar'}, svg);
      el('rect', {x: x, y: y, width: w, height: rowHeight - 2, fill: colour(e), stroke: '#fff'}, g);
      el('title', {}, g).textContent = e.name + ': ' + (e.dur / 1000).toFixed(3) + ' ms, self ' +
          (e.args.self_us / 1000).toFixed(3) + ' ms' + (e.args.outcome ? ', ' + e.args.outcome : '') +
          (e.args.reason ? ': ' + e.args.reason : '');
      if (w > 30) {
        const label = el('text', {x: x + 3, y: y + rowHeight - 7}, g);
        label.textContent = e.name.length * 6.5 > w - 6 ? e.name.slice(0, Math.max(1, Math.floor((w - 6) / 6.5))) : e.name;
      } else if (next.get(e) - (x + w) > e.name.length * 6.5 + 6) {
        el('text', {x: x + w + 3, y: y + rowHeight - 7, fill: '#555'}, g).textContent = e.name;
      }
      ++bars;
    });
    // Every bean of the load: its own time, its time with what it asked
    // for, requests, and the reason of a failure.
    const beans = new Map();
    own.filter(e => e.cat !== 'load').forEach(e => {
      const row = beans.get(e.name) || {self: 0, total: 0, asked: 0, failed: 0, reason: ''};
      row.self += e.args.self_us; row.total += e.dur; row.asked += 1;
      if (e.args.outcome === 'failed') { row.failed += 1; row.reason = e.args.reason || ''; }
      beans.set(e.name, row);
    });
    const table = document.createElement('table');
    table.innerHTML = '<tr><th>bean</th><th>self ms</th><th>total ms</th><th>asked</th><th>failed</th></tr>';
    [...beans.entries()].sort((a, b) => b[1].self - a[1].self).forEach(([name, row]) => {
      const tr = document.createElement('tr');
      if (row.failed) tr.className = 'failed';
      [name, (row.self / 1000).toFixed(3), (row.total / 1000).toFixed(3), row.asked,
       row.failed ? row.failed + ': ' + row.reason : ''].forEach(value => {
        tr.appendChild(document.createElement('td')).textContent = value;
      });
      table.appendChild(tr);
    });
    document.body.appendChild(table);
  });
  document.body.dataset.bars = bars;
})();
</script>
</body></html>
)";

}  // namespace

void WriteTraceHtml(std::ostream& out, const std::vector<SProfiledLoad>& loads) {
    std::ostringstream trace;
    WriteTrace(trace, loads);
    std::string text = trace.str();
    // Inside a script element only "</" could end it early.
    for (std::size_t at = text.find("</"); at != std::string::npos; at = text.find("</", at + 3)) text.insert(at + 1, "\\");
    out << kPageHead << text << kPageTail;
}

}  // namespace zemcli
