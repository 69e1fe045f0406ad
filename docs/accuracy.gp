# Draws the figures of docs/accuracy.md from the tables that the program `accuracy` writes into the
# current folder:   gnuplot -e "images='FOLDER'" accuracy.gp

if (!exists("images")) images = "."
canvas(name, width, height) = sprintf("set terminal pngcairo size %d,%d font 'DejaVu Sans,11'; set output '%s/accuracy_%s.png'", width, height, images, name)

# Colours that stay apart for every kind of colour vision.
blue = "#0072b2"; orange = "#e69f00"; green = "#009e73"; red = "#d55e00"
purple = "#cc79a7"; sky = "#56b4e9"; grey = "#777777"; ink = "#333333"
array colours[7] = [blue, orange, red, purple, green, sky, grey]
array marks[7] = [7, 5, 9, 11, 13, 6, 4]
powers = "10^{%T}"

set border 3 linecolor rgb "#777777"
set tics nomirror textcolor rgb ink
set grid linecolor rgb "#cccccc" linewidth 1
set style data lines

# ---- error against the number of nodes, one figure a shape ---------------------------------------

array shapes[5] = ["rectangle", "circular", "ring", "shell", "spherical_ring"]
array headings[5] = ["Rectangle, 6 mm by 10 mm", "Disc, radius 7.5 mm", \
  "Ring, radii 4.5 mm and 7.5 mm", "Shell, radius 15 mm, curvature 40 mm", \
  "Spherical ring, radii 8 mm and 15 mm, curvature 40 mm"]
array methods[5] = \
  ["fnm_cw fnm_cw_single fnm_cw_sse fnm_cw_sse2 rayleigh_cw rayleigh_cw_sse radiator_cw", \
   "fnm_cw fnm_cw_sse rayleigh_cw rayleigh_cw_apodized rayleigh_cw_sse", \
   "fnm_cw rayleigh_cw", \
   "fnm_cw fnm_cw_sse rayleigh_cw rayleigh_cw_sse", \
   "fnm_cw rayleigh_cw"]
kinds = "lossless lossy"; zones = "near far"

# Each method keeps its colour from figure to figure.
all = "fnm_cw fnm_cw_single fnm_cw_sse fnm_cw_sse2 rayleigh_cw rayleigh_cw_sse radiator_cw rayleigh_cw_apodized"
number(method) = sum [j = 1:words(all)] (word(all, j) eq method ? j : 0)
colour_of(method) = number(method) > 7 ? grey : colours[number(method)]
mark_of(method) = number(method) > 7 ? 3 : marks[number(method)]
# Other methods' lines cover this one's, so it is drawn wider below them.
width_of(method) = method eq "rayleigh_cw" ? 5 : 1.8

do for [s = 1:5] {
  eval canvas(shapes[s], 1080, 700)
  set multiplot
  set label 1 headings[s].", 1 MHz" at screen 0.07, 0.965 font "DejaVu Sans,13" textcolor rgb ink
  set logscale xy
  set xrange [4:256]; set yrange [1e-14:100]
  set xtics (4, 8, 16, 32, 64, 128, 256); set ytics 1e-14, 100, 100
  do for [row = 0:1] {
    do for [column = 0:1] {
      set lmargin at screen 0.07 + 0.38*column; set rmargin at screen 0.41 + 0.38*column
      set tmargin at screen 0.895 - 0.445*row; set bmargin at screen 0.54 - 0.445*row
      set format y (column == 0 ? powers : "")
      set title (row == 0 ? "no loss, " : "1 dB/(cm MHz), ").(column == 0 ? "near field" : "far field") \
        offset 0, -0.7 textcolor rgb ink
      set xlabel (row == 1 ? "nodes" : "") offset 0, 0.4
      set ylabel (column == 0 ? "error, fraction of the peak" : "") offset 1, 0
      if (row == 0 && column == 1) {
        set key at screen 0.81, 0.9 left top vertical Left reverse noenhanced samplen 2 spacing 1.3
      } else {
        unset key
      }
      plot for [i = 1:words(methods[s])] "convergence_".shapes[s].".dat" \
        index word(kinds, row + 1)." ".word(zones, column + 1)." ".word(methods[s], i) \
        using 1:2 with linespoints linewidth width_of(word(methods[s], i)) pointsize 0.8 \
        linecolor rgb colour_of(word(methods[s], i)) pointtype mark_of(word(methods[s], i)) \
        title word(methods[s], i)
      unset label 1
    }
  }
  unset multiplot
  unset output
}
fresh_panel = "set key default; unset lmargin; unset rmargin; unset tmargin; unset bmargin; unset title; unset label"
eval fresh_panel

# ---- how many nodes ------------------------------------------------------------------------------

eval canvas("nodes", 1180, 430)
set multiplot layout 1, 2 margins 0.06, 0.76, 0.13, 0.9 spacing 0.06
set logscale xy; set format y "%g"; set xlabel "size in wavelengths" offset 0, 0.3
set xrange [0.45:36]; set yrange [1.5:130]
set xtics (0.5, 1, 2, 4, 8, 16, 32); set ytics (2, 4, 8, 16, 32, 64, 128)
set key at screen 0.775, 0.9 left top vertical Left reverse noenhanced samplen 3 spacing 1.3
array round[5] = ["disc", "ring, radii 1:2", "shell, f/1", "shell, f/0.6", "spherical ring, f/1, radii 1:2"]
array round_colours[5] = [blue, green, red, purple, orange]
do for [t = 0:1] {
  set title (t == 0 ? "Nodes for an error below 10^{-3} of the peak" : "Nodes for an error below 10^{-6} of the peak") offset 0, -0.6 textcolor rgb ink
  set ylabel (t == 0 ? "nodes" : "") offset 1, 0
  if (t == 1) { unset key }
  plot "nodes.dat" index "rectangle, square" using 1:(column(4 + t)) with lines \
      linecolor rgb "#999999" linewidth 3 title "rule for rectangles", \
    "" index "disc" using 1:(column(4 + t)) with lines linecolor rgb "#999999" linewidth 3 \
      dashtype (4, 3) title "rule for round shapes", \
    "" index "rectangle, square" using 1:(column(2 + t)) with points pointtype 5 pointsize 1.1 linecolor rgb "#000000" title "square", \
    "" index "rectangle, 1:4" using 1:(column(2 + t)) with points pointtype 4 pointsize 1.5 linecolor rgb "#000000" title "rectangle 1:4", \
    for [i = 1:5] "" index round[i] using 1:(column(2 + t)) with points pointtype marks[i] pointsize 2.4 - 0.3*i \
      linecolor rgb round_colours[i] title round[i]
}
unset multiplot; unset output
eval fresh_panel

# ---- loss ----------------------------------------------------------------------------------------

eval canvas("loss", 1100, 420)
set multiplot layout 1, 3 margins 0.065, 0.985, 0.135, 0.9 spacing 0.075
set logscale xy; set format y powers
set xrange [0.08:12]; set yrange [1e-4:1e-1]; set xtics (0.1, 0.2, 0.5, 1, 2, 5, 10); set ytics auto
set xlabel "attenuation (dB/(cm MHz))" offset 0, 0.3; set ylabel "difference, fraction of the peak" offset 1, 0
set title "fnm_cw against the Rayleigh integral" noenhanced offset 0, -0.6 textcolor rgb ink
set key top left Left reverse noenhanced samplen 2 spacing 1.2
array names[5] = ["rectangle", "circular", "ring", "shell", "spherical ring"]
array loss_marks[5] = [7, 4, 8, 12, 2]
plot "loss.dat" using 1:2 with lines linewidth 4 linecolor rgb "#999999" title "alpha/k", \
  for [i = 1:5] "" using 1:(column(2 + i)) with points pointtype loss_marks[i] pointsize 1.1 + 0.25*i \
    linecolor rgb colours[i] linewidth 1.5 title names[i]

unset logscale; set logscale y
set xrange [0:120]; set yrange [0.02:60]; set xtics 20; set format y "%g"
set xlabel "depth on the axis (mm)"; set ylabel "pressure (MPa for 1 m/s)"
set title "Disc at 1 dB/(cm MHz)"
plot "axial.dat" using 1:4 linewidth 2.2 linecolor rgb colour_of("rayleigh_cw") title "rayleigh_cw", \
  "" using 1:5 linewidth 5 linecolor rgb "#bbbbbb" title "rayleigh_cw_apodized, profile 0", \
  "" using 1:3 linewidth 1.8 linecolor rgb blue title "fnm_cw"

set yrange [0.01:5]; set key bottom left
set title "Rectangle at 1 dB/(cm MHz)"; set ylabel ""
plot "axial.dat" using 1:8 linewidth 2.2 linecolor rgb colour_of("fnm_cw_sse2") title "fnm_cw_sse2", \
  "" using 1:9 linewidth 1.8 dashtype 2 linecolor rgb "#999999" title "exact, without loss", \
  "" using 1:6 linewidth 5 linecolor rgb "#bbbbbb" title "exact", \
  "" using 1:7 linewidth 1.8 linecolor rgb orange title "fnm_cw_single"
unset multiplot; unset output
eval fresh_panel

# ---- where methods end ---------------------------------------------------------------------------

eval canvas("limits", 1040, 420)
set multiplot layout 1, 2 margins 0.085, 0.98, 0.14, 0.9 spacing 0.11
set logscale xy; set format xy powers; set xtics auto; set ytics auto
set key top right Left reverse noenhanced samplen 2 spacing 1.2
set xrange [0.02:2]; set yrange [5e-3:3]; set format xy "%g"
set xtics (0.02, 0.05, 0.1, 0.2, 0.5, 1, 2); set ytics (0.01, 0.03, 0.1, 0.3, 1, 3)
set xlabel "distance (m)" offset 0, 0.3; set ylabel "error, fraction of the peak at that distance" offset 1, 0
set title "farfield_cw of the rectangle" noenhanced
plot [0.02:2] 0.0237/x with lines linewidth 8 linecolor rgb "#cccccc" title "falling as 1/distance", \
  "farfield.dat" using 1:2 with linespoints pointtype 7 linewidth 1.8 linecolor rgb blue title "no loss", \
  "" using 1:3 with points pointtype 6 pointsize 1.8 linecolor rgb red title "1 dB/(cm MHz)"
set xrange [1e-4:10]; set yrange [1e-14:1]; set format xy powers; set xtics auto; set ytics 1e-14, 100, 1
set xlabel "distance from the centre of curvature (mm)"; set ylabel "error, fraction of the focal peak"
set title "Shell near its centre of curvature"; set key center right
plot "focus.dat" using ($1*1e3):3 with linespoints pointtype mark_of("fnm_cw_sse") linewidth 1.8 linecolor rgb colour_of("fnm_cw_sse") title "fnm_cw_sse", \
  "" using ($1*1e3):4 with linespoints pointtype mark_of("rayleigh_cw_sse") linewidth 1.8 linecolor rgb colour_of("rayleigh_cw_sse") title "rayleigh_cw_sse", \
  "" using ($1*1e3):2 with linespoints pointtype 7 linewidth 1.8 linecolor rgb blue title "fnm_cw"
unset multiplot; unset output
unset logscale; eval fresh_panel

# ---- maps ----------------------------------------------------------------------------------------

set pm3d map; unset key; unset grid; unset title; set border 15; set tics out scale 0.5
eval canvas("rectangle_map", 1100, 640)
set multiplot layout 2, 2 margins 0.065, 0.885, 0.09, 0.93 spacing 0.18, 0.15
set format "%g"; set xtics 10; set ytics 6; set xrange [0.5:35.5]; set yrange [-12:12]
set ylabel "y (mm)" offset 1, 0; set xlabel "z (mm)" offset 0, 0.4
set palette defined (0 "#000004", 0.13 "#1f0c48", 0.25 "#550f6d", 0.38 "#88226a", 0.5 "#ba3655", 0.63 "#e35933", 0.75 "#f98e09", 0.88 "#f9c932", 1 "#fcffa4")
set title "Rectangle, plane x = 0: pressure" offset 0, -0.6; set cbrange [0:1]; set cbtics 0.25 offset -0.5, 0
set cblabel "fraction of the peak" offset 0.5, 0
splot "rectangle_map.dat" using 1:2:3 with pm3d
set logscale cb; set format cb powers
set palette defined (0 "#f7fbff", 0.2 "#d0e1f2", 0.4 "#94c4df", 0.6 "#4a98c9", 0.8 "#1764ab", 1 "#08306b")
set cblabel "error, fraction of the peak" offset 1, 0
set title "fnm_cw, 24 nodes" noenhanced
set cbrange [1e-16:1e-12]; set cbtics (1e-16, 1e-15, 1e-14, 1e-13, 1e-12)
splot "rectangle_map.dat" using 1:2:($4 < 1e-16 ? 1e-16 : $4) with pm3d
set title "fnm_cw_single, 24 nodes"
set cbrange [1e-8:1e-4]; set cbtics (1e-8, 1e-7, 1e-6, 1e-5, 1e-4)
splot "rectangle_map.dat" using 1:2:($5 < 1e-8 ? 1e-8 : $5) with pm3d
set title "fnm_cw_sse, 24 nodes"
set cbrange [1e-6:1e-2]; set cbtics (1e-6, 1e-5, 1e-4, 1e-3, 1e-2)
splot "rectangle_map.dat" using 1:2:($6 < 1e-6 ? 1e-6 : $6) with pm3d
unset multiplot; unset output
unset logscale cb

eval canvas("spherical_ring_map", 960, 560)
set lmargin at screen 0.08; set rmargin at screen 0.84; set tmargin at screen 0.92; set bmargin at screen 0.1
set format "%g"; set xrange [0:20]; set yrange [-1.2:10.9]; set xtics 5; set ytics 2
set xlabel "distance from the axis (mm)"; set ylabel "z (mm)"; set cblabel "pressure (MPa for 1 m/s)" offset 1, 0
set logscale cb; set cbrange [0.01:5]; set cbtics (0.01, 0.03, 0.1, 0.3, 1, 3); set format cb "%g"
set palette defined (0 "#ffffff", 0.15 "#d0e1f2", 0.4 "#94c4df", 0.6 "#4a98c9", 0.8 "#1764ab", 1 "#08306b")
set title "Spherical ring, radii 10 mm and 15 mm, curvature 25 mm: fnm\\_cw" enhanced offset 0, -0.6
inner = 25 - sqrt(25**2 - 10**2); outer = 25 - sqrt(25**2 - 15**2)
face(r) = r >= 10 && r <= 15 ? 25 - sqrt(25**2 - r**2) : NaN
set samples 801
set label 1 "only minus the inner cap:\nnot the ring's field" at 17.3, 3.8 center front textcolor rgb "#a03000"
set label 2 "behind the ring: nothing" at 15, 0.3 center front textcolor rgb ink
set label 3 "the ring's face" at 14.6, 5.6 left front textcolor rgb "#000000"
splot "spherical_ring_map.dat" using 1:2:($3 == 0 ? NaN : $3) with pm3d, \
  "+" using 1:(face($1)):(0) with lines linewidth 5 linecolor rgb "#000000", \
  "+" using 1:(inner):(0) with lines dashtype 2 linecolor rgb red, \
  "+" using 1:(outer):(0) with lines dashtype 2 linecolor rgb red
unset output
