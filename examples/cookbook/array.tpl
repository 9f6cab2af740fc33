<report>
<plugin name=std, lib=vorn-std, init=std_init(app:ifstats), end=std_end()>
<row cstyle='%4s %12s %14s'><value>No.</value><value>Delay (ns)</value><value>Delay</value></row>
<iterate var=i, from=0, to=std.last(array:delays)>
<row cstyle='%4s %12u %14s'>
<value>${i}</value>
<value link=ifstats@delays[${i}]></value>
<value link=ifstats@delays[${i}], conv=units(ns=1:%.0f;us=1000:%.2f)></value>
</row>
</iterate>
</report>
