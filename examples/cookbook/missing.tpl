<report>
<plugin name=std, lib=vorn-std, init=std_init(), end=std_end()>
<iterate var=n, from=1, to=ifstats@ports>
<row cstyle='Line %s  %8u %12s %10.1f|%.0f|'>
<value>${n}</value>
<value link=port${n}@rxErrors></value>
<value link=port${n}@rxPower, conv=units(dBm=100:%.2f)></value>
<value plugin=std.sum(item:port${n}@rxErrors)></value>
<value plugin=std.sum(item:port${n}@rxErrors)></value>
</row>
<section id=none, top=0, bottom=0, enabled-by=!port${n}@rxErrors>
<row cstyle='%s'><value>  (this line was not measured)</value></row>
</section>
</iterate>
<row cstyle='%.0f frames with errors on the %d lines that were measured'>
<value plugin=std.sum(item:port1@rxErrors port2@rxErrors port3@rxErrors)></value>
<value plugin=std.count(item:port1@rxErrors port2@rxErrors port3@rxErrors)></value>
</row>
</report>
