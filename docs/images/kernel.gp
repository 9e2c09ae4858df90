# gnuplot -e "data='response.txt'" docs/images/kernel.gp, with the output of bench_kernel_response in response.txt
set terminal svg size 1100,420 font "sans,13" background "white"
set output "docs/images/kernel.svg"
set multiplot layout 1,2 title "Built-in downsampling kernel"
set grid back lc rgb "#cccccc"
set border lc rgb "#444444"
set xlabel "frequency / output Nyquist frequency"
set ylabel "dB"
unset key
set xrange [0:1]; set yrange [-4:0.5]
set title "pass band and transition"
set arrow 1 from 0.645,-4 to 0.645,0.5 nohead dt 2 lc rgb "#888888"
set arrow 2 from 0.792,-4 to 0.792,0.5 nohead dt 2 lc rgb "#888888"
set label 1 "-0.1 dB at 0.645" at 0.63,-2.0 right
set label 2 "-3 dB at 0.79" at 0.78,-3.0 right
plot data using 1:2 with lines lw 2 lc rgb "#1f5fa8"
unset arrow; unset label
set logscale x; set xrange [0.1:200]; set yrange [-220:10]
set xtics (0.1, 0.2, 0.5, 1, 2, 5, 10, 20, 50, 100, 200)
set title "stop band"
set arrow 3 from 1.15,-90 to 200,-90 nohead dt 2 lc rgb "#b03030"
set label 3 "-90 dB from 1.15 on" at 8,-80 tc rgb "#b03030"
plot data using 1:2 with lines lw 1 lc rgb "#1f5fa8"
unset multiplot
