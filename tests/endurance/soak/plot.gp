# Draws the samples of a soak: gnuplot -e "samples='FILE'; drawing='FILE'" plot.gp
set terminal svg size 1200,1000 font "sans,14" background "white"
set output drawing
set datafile separator comma
set datafile missing ""
stats samples using 1 skip 1 nooutput
set xrange [0:STATS_max]
set offsets 0, 0, graph 0.1, 0
set multiplot layout 4,1
set grid
set key outside right
set lmargin 10
set rmargin 18
atRest(value) = strcol(2) eq "rest" ? value : NaN
atWork(value) = strcol(2) eq "work" ? value : NaN

set ylabel "MiB resident"
plot samples using 1:(atWork($3) / 1024) skip 1 with points pt 7 ps 0.2 title "at work", \
     samples using 1:(atRest($3) / 1024) skip 1 with points pt 7 ps 0.5 title "at rest"
set ylabel "threads"
set yrange [0:*]
plot samples using 1:(atWork($4)) skip 1 with points pt 7 ps 0.2 title "at work", \
     samples using 1:(atRest($4)) skip 1 with points pt 7 ps 0.5 title "at rest"
set ylabel "descriptors"
plot samples using 1:(atWork($5)) skip 1 with points pt 7 ps 0.2 title "at work", \
     samples using 1:(atRest($5)) skip 1 with points pt 7 ps 0.5 title "at rest"
set ylabel "age of picture, ms"
set xlabel "minutes"
plot samples using 1:8 skip 1 with points pt 7 ps 0.2 title "worst", \
     samples using 1:7 skip 1 with points pt 7 ps 0.2 title "median"
unset multiplot
