<report>
<plugin name=std, lib=vorn-std, init=std_init(app:ifstats), end=std_end()>
<row cstyle='%-26s %8d'><value>Measurements</value><value plugin=std.count(array:delays)></value></row>
<row cstyle='%-26s %8.0f ns'><value>Shortest delay</value><value plugin=std.min(array:delays)></value></row>
<row cstyle='%-26s %8.0f ns'><value>Mean</value><value plugin=std.mean(array:delays)></value></row>
<row cstyle='%-26s %8.0f ns'><value>Median</value><value plugin=std.percentile(array:delays;p:50)></value></row>
<row cstyle='%-26s %8.0f ns'><value>Nine of ten are at most</value><value plugin=std.percentile(array:delays;p:90)></value></row>
<row cstyle='%-26s %8.0f ns'><value>Longest</value><value plugin=std.max(array:delays)></value></row>
<row cstyle='%-26s %8s ppm'><value>Errors in a million frames</value><value plugin=std.ratio(a:rxErrors;b:rxFrames), conv=units(=1e-6:%.2f)></value></row>
</report>
