<report>
<plugin name=std, lib=vorn-std, init=std_init(app:ifstats), end=std_end()>
<section id=head, top=0>
<row cstyle='%s'><value>The lines of the laboratory</value></row>
</section>
<section id=delay, top=0, bottom=0>
<row cstyle='%-20s %12.0f ns'><value>Mean delay</value><value plugin=std.mean(array:delays)></value></row>
<row cstyle='%-20s %12.0f ns'><value>Longest delay</value><value plugin=std.max(array:delays)></value></row>
<row cstyle='%-20s %12s'><value>Errors, at most 10</value><value plugin=std.verdict(item:rxErrors;high:10)></value></row>
</section>
<section id=hint, bottom=0, enabled-by=std.compare(item:rxErrors;op:gt;number:10)>
<row cstyle='%s'><value>Look at the line with the most errors.</value></row>
</section>
</report>
