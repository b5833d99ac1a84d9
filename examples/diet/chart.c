#include "chart.h"

#include <errno.h>
#include <math.h>
#include <stdio.h>
#include <string.h>

enum { WIDTH = 900, HEIGHT = 420, LEFT = 70, RIGHT = 20, TOP = 50, BOTTOM = 60 };

/* The numbers on an axis: multiples of `step`, low <= number <= high. */
typedef struct {
  double low;
  double high;
  double step;
} Axis;

static Axis axisFor(double least, double most) {
  const double rough = (most - least) / 5 > 0 ? (most - least) / 5 : most / 5;
  const double power = pow(10, floor(log10(rough)));
  const double times = rough / power;
  const double step = (times <= 1 ? 1 : times <= 2 ? 2 : times <= 5 ? 5 : 10) * power;
  return (Axis){floor(least / step) * step, ceil(most / step) * step, step};
}

static Axis valueAxis(const Chart* chart) {
  double least = chart->base;
  double most = chart->base;
  for (int i = 0; i < chart->count; ++i) {
    least = fmin(least, chart->values[i]);
    most = fmax(most, chart->values[i]);
  }
  return axisFor(least, most);
}

static double xOf(const Chart* chart, int i) {
  return LEFT + (double)(WIDTH - LEFT - RIGHT) * i / (chart->count - 1);
}

static double yOf(const Axis* axis, double value) {
  const double part = (value - axis->low) / (axis->high - axis->low);
  return HEIGHT - BOTTOM - part * (HEIGHT - TOP - BOTTOM);
}

static void drawGrid(FILE* out, const Axis* axis) {
  const int lines = (int)lround((axis->high - axis->low) / axis->step);
  for (int i = 0; i <= lines; ++i) {
    const double value = axis->low + i * axis->step;
    const double y = yOf(axis, value);
    fprintf(out, "<path d='M%d %.1fH%d' stroke='#ddd'/>\n", LEFT, y, WIDTH - RIGHT);
    fprintf(out, "<text x='%d' y='%.1f' text-anchor='end'>%.3g</text>\n", LEFT - 8, y + 4, value);
  }
}

static void drawTitles(FILE* out, const Chart* chart) {
  fprintf(out, "<text x='%d' y='28' font-size='18'>%s</text>\n", LEFT, chart->title);
  fprintf(out, "<text x='%d' y='%d' text-anchor='middle'>%s</text>\n", (LEFT + WIDTH - RIGHT) / 2,
          HEIGHT - 15, chart->xTitle);
  fprintf(out, "<text transform='translate(20 %d) rotate(-90)' text-anchor='middle'>%s</text>\n",
          (TOP + HEIGHT - BOTTOM) / 2, chart->yTitle);
  for (int i = 0; i < chart->count; i += (chart->count + 7) / 8) {
    fprintf(out, "<text x='%.1f' y='%d' text-anchor='middle'>%d</text>\n", xOf(chart, i),
            HEIGHT - BOTTOM + 20, i + 1);
  }
}

static void drawValues(FILE* out, const Chart* chart, const Axis* axis) {
  fprintf(out, "<polyline fill='none' stroke='#1f6fb4' stroke-width='1.5' points='");
  for (int i = 0; i < chart->count; ++i) {
    fprintf(out, "%.1f,%.1f ", xOf(chart, i), yOf(axis, chart->values[i]));
  }
  fprintf(out, "'/>\n");
  const double y = yOf(axis, chart->base);
  fprintf(out, "<path d='M%d %.1fH%d' stroke='#c33' stroke-dasharray='6 4'/>\n", LEFT, y,
          WIDTH - RIGHT);
  fprintf(out,
          "<text x='%d' y='%.1f' text-anchor='end' fill='#c33' stroke='white' "
          "stroke-width='4' paint-order='stroke'>%s</text>\n",
          WIDTH - RIGHT - 4, y - 6, chart->baseText);
}

static void draw(FILE* out, const Chart* chart) {
  const Axis axis = valueAxis(chart);
  fprintf(out,
          "<svg xmlns='http://www.w3.org/2000/svg' viewBox='0 0 %d %d' font-family='sans-serif' "
          "font-size='13'>\n<rect width='%d' height='%d' fill='white'/>\n",
          WIDTH, HEIGHT, WIDTH, HEIGHT);
  drawGrid(out, &axis);
  drawTitles(out, chart);
  drawValues(out, chart, &axis);
  fprintf(out, "</svg>\n");
}

int chartWrite(const Chart* chart, const char* file) {
  FILE* out = fopen(file, "w");
  int done = out != NULL;
  if (done) {
    draw(out, chart);
    done = !ferror(out);
    done = fclose(out) == 0 && done;
  }
  if (!done) fprintf(stderr, "diet_demo: cannot write %s: %s\n", file, strerror(errno));
  return done;
}
