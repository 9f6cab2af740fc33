<report>
</report>
