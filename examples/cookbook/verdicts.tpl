<report dict=texts[1]>
<plugin name=std, lib=vorn-std, init=std_init(), end=std_end()>
<iterate var=n, from=1, to=ifstats@ports>
<row cstyle='%s %s  %4u  %s'>
<value dict>line</value><value>${n}</value>
<value link=port${n}@rxErrors></value>
<value plugin=std.verdict(item:port${n}@rxErrors;high:10), dict></value>
</row>
</iterate>
<section id=all, bottom=0>
<row cstyle='%-14s  %s'><value dict>verdict</value><value plugin=std.verdict(item:ifstats@rxErrors;high:10), dict></value></row>
</section>
</report>
