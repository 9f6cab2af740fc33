<!-- SPDX-License-Identifier: MIT -->
<!-- Delays by frame size. The instrument counts them in nanoseconds. -->
<include file=heading.tpl(title:latency)>
<section id=latency, top=0, bottom=0, enabled-by=latency@classes>
<row cstyle='  %-18s %14s %14s %14s'><value dict>sizes</value><value dict>shortest</value><value dict>average</value><value dict>longest</value></row>
<iterate var=class, from=1, to=latency@classes>
<row cstyle='  %-18s %14s %14s %14s'>
<value dict>size.${class}</value>
<value link=latency@shortest[${class}], conv=units(ns=1:%.0f;us=1000:%.2f;ms=1000000:%.3f)></value>
<value link=latency@average[${class}], conv=units(ns=1:%.0f;us=1000:%.2f;ms=1000000:%.3f)></value>
<value link=latency@longest[${class}], conv=units(ns=1:%.0f;us=1000:%.2f;ms=1000000:%.3f)></value>
</row>
</iterate>
</section>
<section id=summary, bottom=0>
<row cstyle='  %-18s %11d ns'><value dict>jitter</value><value link=latency@jitter></value></row>
<row cstyle='  %-18s %12.3f %%'><value dict>loss</value><value link=latency@loss></value></row>
</section>
