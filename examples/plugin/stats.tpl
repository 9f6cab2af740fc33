<!-- SPDX-License-Identifier: MIT -->
<!-- Statistics of ../tester.res, computed by the plug-in beside this file. -->
<report>
<plugin name=st, lib=./libstats.so, init=statsInit(app:latency), end=statsEnd()>

<section id=head>
<row cstyle='Latency test from %s to %s'><value plugin=st.statsTime(time:start)></value><value plugin=st.statsTime(time:stop)></value></row>
</section>

<section id=series, top=0>
<row cstyle='%-10s %10s %10s %10s %10s'><value>ns</value><value>min</value><value>mean</value><value>median</value><value>max</value></row>
<include file=series.tpl(item:shortest)>
<include file=series.tpl(item:average)>
<include file=series.tpl(item:longest)>
</section>

<section id=classes, top=0>
<iterate var=i, from=1, to=st.statsCount(of:longest;width:4;first:1)>
<row cstyle='Class %s: %u ns at most'><value>${i}</value><value link=latency@longest[${i}]></value></row>
</iterate>
</section>

<section id=good, enabled-by=st.statsWithin(of:longest;width:4;first:1;atmost:1000000), top=0>
<row cstyle='%s'><value>PASSED: no class took longer than 1 ms.</value></row>
</section>
<section id=bad, enabled-by=!st.statsWithin(of:longest;width:4;first:1;atmost:1000000), top=0>
<row cstyle='%s'><value>FAILED: a class took longer than 1 ms.</value></row>
</section>

<section id=ports, top=0>
<row cstyle='Errors on both ports: mean %.1f and at most %.0f'><value plugin=st.statsMean(of:port1@rxErrors port2@rxErrors)></value><value plugin=st.statsMax(of:port1@rxErrors port2@rxErrors)></value></row>
</section>
</report>
