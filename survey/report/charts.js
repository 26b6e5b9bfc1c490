// Draws the charts of a report from the data beside it, by Chart.js.
"use strict";
(() => {
    const root = document.documentElement;
    const data = JSON.parse(document.getElementById("data").textContent);
    const shapes = ["circle", "triangle", "rect", "rectRot", "star", "cross", "crossRot", "dash"];

    const colour = (name) => getComputedStyle(root).getPropertyValue("--" + name).trim();
    const tone = (number) => colour("tone-" + (number % shapes.length + 1));

    const sizeText = (bytes) => {
        let unit = 0;
        for (; bytes >= 1024 && unit < 3; ++unit)
            bytes /= 1024;
        return Number(bytes.toPrecision(4)) + " " + ["B", "KiB", "MiB", "GiB"][unit];
    };
    const plainText = (value) => String(Number(value.toPrecision(3)));
    const fractionText = (value) => value < 1 ? "1/" + Math.round(1 / value) : String(value);

    // The powers of two between two values, every second or fourth one where all are too many.
    const powersOfTwo = (least, most, room) => {
        const first = Math.ceil(Math.log2(least) - 1e-9), last = Math.floor(Math.log2(most) + 1e-9);
        let step = 1;
        while ((last - first) / step > room)
            step *= 2;
        const powers = [];
        for (let power = first; power <= last; ++power)
            if (power % step === 0)
                powers.push(2 ** power);
        return powers;
    };

    // 1, 2 and 5 times the powers of ten from the last one not above `least` on.
    const niceSteps = (least, most) => {
        const steps = [];
        for (let power = Math.floor(Math.log10(least)) - 1; ; ++power)
            for (const factor of [1, 2, 5]) {
                steps.push(Number(factor + "e" + power));
                if (steps[steps.length - 1] >= most)
                    return steps.filter((step, i) => i + 1 === steps.length || steps[i + 1] > least);
            }
    };

    const marksOf = (chart) => chart.series.flatMap((series) => series.marks);

    const xScale = (chart) => {
        const xs = marksOf(chart).map((mark) => mark.x);
        const least = Math.min(...xs), most = Math.max(...xs);
        const title = { display: true, text: chart.xTitle };
        if (chart.axis === "rate")
            return { type: "linear", title, min: 0, ticks: { callback: plainText } };
        const text = { bytes: sizeText, count: String, intensity: fractionText }[chart.axis];
        const margin = chart.axis === "intensity" ? 1 : 1.15;
        const ticksFor = (axis) => chart.axis === "count" && new Set(xs).size < 12
            ? [...new Set(xs)].sort((a, b) => a - b)
            : powersOfTwo(least, most, axis.width / 60);
        return {
            type: "logarithmic", title, min: least / margin, max: most * margin,
            afterBuildTicks: (axis) => { axis.ticks = ticksFor(axis).map((value) => ({ value })); },
            ticks: { callback: (value) => text(value), autoSkip: false, maxRotation: 45 },
        };
    };

    const yScale = (chart) => {
        const title = { display: true, text: chart.yTitle };
        if (chart.axis === "rate")
            return { type: "linear", title, beginAtZero: true, ticks: { callback: plainText } };
        const marks = marksOf(chart);
        const steps = niceSteps(Math.min(...marks.map((mark) => mark.low || mark.y)),
                                Math.max(...marks.map((mark) => mark.high || mark.y)));
        return {
            type: "logarithmic", title, min: steps[0], max: steps[steps.length - 1],
            afterBuildTicks: (axis) => { axis.ticks = steps.map((value) => ({ value })); },
            ticks: { callback: plainText },
        };
    };

    // The range of each mark's samples.
    const ranges = {
        id: "ranges",
        beforeDatasetsDraw(chart) {
            const context = chart.ctx;
            context.save();
            chart.data.datasets.forEach((dataset, i) => {
                if (!chart.isDatasetVisible(i))
                    return;
                context.strokeStyle = dataset.borderColor;
                context.lineWidth = 1.5;
                for (const mark of dataset.data) {
                    if (mark.low === mark.high)
                        continue;
                    const x = chart.scales.x.getPixelForValue(mark.x);
                    const [top, bottom] =
                        [mark.high, mark.low].map((y) => chart.scales.y.getPixelForValue(y));
                    context.beginPath();
                    context.moveTo(x, top);
                    context.lineTo(x, bottom);
                    for (const end of [top, bottom]) {
                        context.moveTo(x - 3, end);
                        context.lineTo(x + 3, end);
                    }
                    context.stroke();
                }
            });
            context.restore();
        },
    };

    // The capacities of caches: a line below the figures, its text above them.
    const edgesOf = (chart, draw) => {
        const { ctx: context, scales: { x: axis } } = chart;
        context.save();
        for (const edge of chart.options.plugins.edges.all)
            if (edge.x > axis.min && edge.x < axis.max)
                draw(context, axis.getPixelForValue(edge.x), chart.chartArea, edge.text);
        context.restore();
    };
    const edges = {
        id: "edges",
        beforeDatasetsDraw(chart) {
            edgesOf(chart, (context, x, area) => {
                context.strokeStyle = colour("faint");
                context.setLineDash([4, 4]);
                context.beginPath();
                context.moveTo(x, area.top);
                context.lineTo(x, area.bottom);
                context.stroke();
            });
        },
        afterDatasetsDraw(chart) {
            edgesOf(chart, (context, x, area, text) => {
                Object.assign(context, {
                    font: Chart.defaults.font.size + "px " + Chart.defaults.font.family,
                    textAlign: "right", textBaseline: "bottom", lineWidth: 4, lineJoin: "round",
                    strokeStyle: colour("paper"), fillStyle: colour("faint"),
                });
                context.save();
                context.translate(x - 2, area.top + 4);
                context.rotate(-Math.PI / 2);
                context.strokeText(text, 0, 0);
                context.fillText(text, 0, 0);
                context.restore();
            });
        },
    };

    // Says in the page how many marks stand in a chart.
    const told = {
        id: "told",
        afterDraw(chart) {
            chart.canvas.dataset.drawn = chart.data.datasets.reduce(
                (sum, dataset, i) => sum + (chart.isDatasetVisible(i) ? dataset.data.length : 0), 0);
        },
    };

    const datasetOf = (series) => ({
        label: series.name, tone: series.tone, group: series.group, plain: series.plain,
        data: series.marks, showLine: true, borderWidth: 2,
        pointStyle: series.plain ? "line" : shapes[series.tone % shapes.length], clip: 8,
        pointRadius: series.plain ? 0 : 4, pointHoverRadius: series.plain ? 3 : 6, pointHitRadius: 8,
    });

    const paint = (chart) => {
        for (const dataset of chart.data.datasets) {
            dataset.borderColor = tone(dataset.tone);
            dataset.backgroundColor = dataset.borderColor;
            dataset.pointBackgroundColor = dataset.data.map(
                (mark) => mark.noisy ? colour("paper") : dataset.borderColor);
        }
        for (const scale of Object.values(chart.options.scales)) {
            scale.grid.color = colour("line");
            scale.ticks.color = colour("faint");
            scale.title.color = colour("ink");
        }
        chart.options.plugins.legend.labels.color = colour("ink");
        chart.update("none");
    };

    const tooltipText = (item, unit) => {
        const mark = item.raw, range = mark.low === mark.high
            ? "" : " (" + plainText(mark.low) + " to " + plainText(mark.high) + ")";
        if (item.dataset.plain)
            return mark.text;
        return item.dataset.label + ", " + mark.text + ": " + plainText(mark.y) + " " + unit +
            range + (mark.noisy ? ", noisy" : "");
    };

    // One item stands for all series of a group, and shows or hides them together.
    const legendFor = (chart) => {
        const groups = chart.series.map((series) => series.group);
        return {
            display: new Set(groups).size <= 16,
            position: "bottom",
            labels: {
                usePointStyle: true, boxHeight: 8,
                generateLabels: (of) => Chart.defaults.plugins.legend.labels.generateLabels(of)
                    .map((item) => ({ ...item, fillStyle: item.strokeStyle })),
                filter: (item) => groups.indexOf(groups[item.datasetIndex]) === item.datasetIndex,
            },
            onClick: (_, item, legend) => {
                const show = !legend.chart.isDatasetVisible(item.datasetIndex);
                groups.forEach((group, i) => {
                    if (group === groups[item.datasetIndex])
                        legend.chart.setDatasetVisibility(i, show);
                });
                legend.chart.update();
            },
        };
    };

    const draw = (chart) => new Chart(document.getElementById(chart.id), {
        type: "scatter",
        data: { datasets: chart.series.map(datasetOf) },
        plugins: [edges, ranges, told],
        options: {
            animation: false,
            maintainAspectRatio: false,
            interaction: { mode: "nearest", intersect: true },
            scales: { x: { grid: {}, ...xScale(chart) }, y: { grid: {}, ...yScale(chart) } },
            plugins: {
                edges: { all: chart.edges },
                legend: legendFor(chart),
                tooltip: {
                    displayColors: false,
                    callbacks: { label: (item) => tooltipText(item, chart.yTitle) },
                },
            },
        },
    });

    Chart.defaults.font.family = getComputedStyle(document.body).fontFamily;
    const charts = data.map(draw);
    const paintAll = () => charts.forEach(paint);
    paintAll();
    matchMedia("(prefers-color-scheme: dark)").addEventListener("change", paintAll);
    addEventListener("beforeprint", () => { root.classList.add("on-paper"); paintAll(); });
    addEventListener("afterprint", () => { root.classList.remove("on-paper"); paintAll(); });
})();
